#ifndef BROWSER_PANEL_MESSAGES_SECTION_H_
#define BROWSER_PANEL_MESSAGES_SECTION_H_

#include <QPlainTextEdit>
#include <QSplitter>
#include <QTreeWidget>
#include <nlohmann/json.hpp>
#include <string>

namespace browser {

/// The requests of pages and the plug-in's answers, one row for both, and the one that is chosen in full.
class MessagesSection : public QSplitter {
  public:
    MessagesSection();

    /// @param line  as embedder::MessageJournal writes it.
    void add(const std::string& line);

  private:
    using Json = nlohmann::ordered_json;

    void addRequest(const Json& message);
    void addAnswer(const Json& message);
    QTreeWidgetItem* addRow(const Json& message, const std::string& command);
    QTreeWidgetItem* waitingFor(const Json& answer) const;
    void show(const QTreeWidgetItem* row);

    QTreeWidget* m_rows;
    QPlainTextEdit* m_whole;
};

}  // namespace browser

#endif
