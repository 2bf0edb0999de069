#ifndef BROWSER_DIALOGS_H_
#define BROWSER_DIALOGS_H_

namespace browser {

/// Who answers a page that asks something: alert, confirm, prompt, leaving a page, permissions.
enum class Dialogs {
    Person,   ///< in windows; without a person a page would wait for ever
    Accept,   ///< at once, with yes
    Dismiss,  ///< at once, with no
};

}  // namespace browser

#endif
