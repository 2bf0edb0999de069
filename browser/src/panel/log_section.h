#ifndef BROWSER_PANEL_LOG_SECTION_H_
#define BROWSER_PANEL_LOG_SECTION_H_

#include <QFile>
#include <QPlainTextEdit>
#include <QTimer>
#include <filesystem>

namespace browser {

/// The plug-in's log, as its file grows.
class LogSection : public QPlainTextEdit {
  public:
    /// @param file  that need not be there yet; empty when the log is elsewhere.
    explicit LogSection(const std::filesystem::path& file);

  private:
    void readOn();

    QFile m_file;
    QByteArray m_rest;  ///< of a line that is not whole yet
    QTimer m_timer;
};

}  // namespace browser

#endif
