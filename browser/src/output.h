#ifndef BROWSER_OUTPUT_H_
#define BROWSER_OUTPUT_H_

#include <QString>

namespace browser {

/// A text in one line that a terminal shows as it is: line breaks and other control characters are
/// escaped as in JSON.
QString inOneLine(const QString& text);

/// Writes a line to stdout, at once. What a page has a say in comes with a mark in front of it.
void printLine(const QString& text);

/// Writes a line to stderr, after the program's name.
void complain(const QString& text);

/// Whether all lines for stdout have been taken.
bool outputWorks();

}  // namespace browser

#endif
