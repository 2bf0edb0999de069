#!/usr/bin/env python3
"""Makes C++ and C of a D-Bus introspection file, so that both sides of an interface stay one.

    bus_interfaces.py FILE.xml FOLDER

FOLDER/bus_interfaces.h gets, for each interface, a namespace with its name and a Method for each of its
methods, and the declaration of its table for sd-bus. FOLDER/NAME_table.c, in C as sd-bus's macros are, gets the
table: its handlers are functions of C linkage, such as onAccountCanStart, that whoever links it defines.
"""
import re
import sys
import xml.etree.ElementTree as ElementTree


def snake(name):
    return re.sub(r"(?<!^)(?=[A-Z])", "_", name).lower()


def signature(member, direction):
    return "".join(
        arg.get("type") for arg in member.findall("arg") if arg.get("direction", "out") == direction
    )


def main(source_path, folder):
    interfaces = ElementTree.parse(source_path).getroot().findall("interface")
    header = [
        "// Made from the introspection file; change that.",
        "#ifndef BUS_INTERFACES_H_",
        "#define BUS_INTERFACES_H_",
        "",
        "#include <systemd/sd-bus.h>",
        "",
        "namespace bus {",
        "",
        "struct Method {",
        "    const char* interface;",
        "    const char* name;",
        "    const char* in;   ///< the signature of what it takes",
        "    const char* out;  ///< and of what it gives",
        "};",
        "",
    ]
    declarations = []
    files = {}
    for interface in interfaces:
        full = interface.get("name")
        short = full.rsplit(".", 1)[1]
        header += [f"namespace {snake(short)} {{", f'constexpr const char* kName = "{full}";']
        handlers = []
        rows = []
        for method in interface.findall("method"):
            name = method.get("name")
            taken, given = signature(method, "in"), signature(method, "out")
            header.append(
                f'constexpr Method k{name} = {{kName, "{name}", "{taken}", "{given}"}};'
            )
            handler = f"on{short}{name}"
            handlers.append(
                f"int {handler}(sd_bus_message* message, void* user, sd_bus_error* error);"
            )
            rows.append(
                f'    SD_BUS_METHOD("{name}", "{taken}", "{given}", {handler}, '
                "SD_BUS_VTABLE_UNPRIVILEGED),"
            )
        for signal in interface.findall("signal"):
            name = signal.get("name")
            header.append(f'constexpr const char* k{name} = "{name}";')
            rows.append(f'    SD_BUS_SIGNAL("{name}", "{signature(signal, "out")}", 0),')
        header += [f"}}  // namespace {snake(short)}", ""]
        files[f"{snake(short)}_table.c"] = [
            "/* Made from the introspection file; change that. */",
            "#include <systemd/sd-bus.h>",
            "",
            *handlers,
            f"const sd_bus_vtable k{short}Table[] = {{",
            "    SD_BUS_VTABLE_START(0),",
            *rows,
            "    SD_BUS_VTABLE_END,",
            "};",
            "",
        ]
        declarations += handlers + [f"extern const sd_bus_vtable k{short}Table[];"]
    header += ["}  // namespace bus", "", 'extern "C" {'] + declarations + ["}", "", "#endif", ""]
    files["bus_interfaces.h"] = header
    for name, lines in files.items():
        with open(f"{folder}/{name}", "w", encoding="utf-8") as file:
            file.write("\n".join(lines))


main(*sys.argv[1:])
