#include "json_lines.h"

#include "host/value_json.h"

void JsonLines::write(const Fields& fields) {
    std::string line;
    for (const auto& [name, value] : fields) {
        line += (line.empty() ? '{' : ',');
        line += host::writeJson(name) + ':' + host::writeJson(value);
    }
    writeLine(line + '}');
}

void JsonLines::writeLine(const std::string& line) {
    if (!m_works) return;
    const std::string whole = line + '\n';
    m_works = std::fwrite(whole.data(), 1, whole.size(), m_file) == whole.size() &&
              std::fflush(m_file) == 0;
}
