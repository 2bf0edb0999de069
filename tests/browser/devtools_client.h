#ifndef BROWSER_DEVTOOLS_CLIENT_H_
#define BROWSER_DEVTOOLS_CLIENT_H_

#include <string>

namespace browser {

/// Evaluates an expression in the page of a browser with --devtools, as if a person had just clicked
/// there.
///
/// @param port  that DevTools listen on.
/// @throws std::exception  when nobody listens there, or there is not just one page.
void evaluateAsAPerson(int port, const std::string& expression);

}  // namespace browser

#endif
