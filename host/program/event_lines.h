#ifndef HOST_PROGRAM_EVENT_LINES_H_
#define HOST_PROGRAM_EVENT_LINES_H_

#include <atomic>

#include "json_lines.h"
#include "player.h"

/// Writes what the player tells of as JSON lines.
class EventLines : public PlayerListener {
  public:
    /// @param output  where they go. Not copied.
    explicit EventLines(JsonLines& output) : m_output(output) {}

    void onEvent(const host::Event& event, const Origin& origin) override;
    void onError(const Origin& origin, const std::string& reason) override;

    bool hadErrors() const { return m_hadErrors; }

  private:
    JsonLines& m_output;
    std::atomic<bool> m_hadErrors = false;
};

#endif
