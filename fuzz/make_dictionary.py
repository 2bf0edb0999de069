"""Makes a dictionary for libFuzzer of the names and texts in JSON files, and of what JSON itself is made of.

Arguments: the dictionary to write, and the files.
"""

import json
import sys

LONGEST = 64  # what mutations put into inputs of a few hundred bytes
JSON = ['{', '}', '[', ']', ':', ',', '""', 'true', 'false', 'null', '-0', '1e9', '1.5', '2147483648', '\\u0000',
        '\\ud800', '\\n']


def texts_in(node):
    if isinstance(node, dict):
        for name, member in node.items():
            yield name
            yield from texts_in(member)
    elif isinstance(node, list):
        for element in node:
            yield from texts_in(element)
    elif isinstance(node, str):
        yield node


def entry(text):
    return '"' + "".join(chr(byte) if 0x20 <= byte < 0x7F and chr(byte) not in '"\\' else f"\\x{byte:02x}"
                         for byte in text.encode()) + '"'


words = set(JSON)
for path in sys.argv[2:]:
    with open(path, encoding="utf-8") as file:
        for text in texts_in(json.load(file)):
            # Sentences for persons lead nowhere.
            if 0 < len(text.encode()) <= LONGEST and text.count(" ") < 3 and not text.startswith("$"):
                words.add(text)
                words.add(json.dumps(text) + ":")
with open(sys.argv[1], "w", encoding="utf-8") as dictionary:
    dictionary.writelines(entry(word) + "\n" for word in sorted(words))
