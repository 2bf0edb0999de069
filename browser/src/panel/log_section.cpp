#include "src/panel/log_section.h"

#include <QFontDatabase>

namespace browser {
namespace {

constexpr int kLookEvery = 300;    // milliseconds between two looks
constexpr int kMostLines = 5000;   // that are kept
constexpr qint64 kPart = 1 << 20;  // bytes at a time

}  // namespace

LogSection::LogSection(const std::filesystem::path& file)
    : m_file(QString::fromStdString(file.string())) {
    setReadOnly(true);
    setLineWrapMode(QPlainTextEdit::NoWrap);
    setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    setMaximumBlockCount(kMostLines);
    if (file.empty()) {
        setPlaceholderText(QStringLiteral("The log goes to standard error."));
        return;
    }
    setPlaceholderText(QStringLiteral("Nothing logged yet."));
    connect(&m_timer, &QTimer::timeout, this, [this] { readOn(); });
    m_timer.start(kLookEvery);
}

void LogSection::readOn() {
    if (!m_file.isOpen() && !m_file.open(QIODevice::ReadOnly)) return;
    m_rest += m_file.read(kPart);
    const int end = m_rest.lastIndexOf('\n');
    if (end < 0) return;
    appendPlainText(QString::fromUtf8(m_rest.left(end)));
    m_rest.remove(0, end + 1);
}

}  // namespace browser
