#include "src/panel/privileges_section.h"

#include <QLabel>
#include <QVBoxLayout>
#include <set>
#include <string>

#include "embedder/application_manifest.h"
#include "embedder/commands.h"

namespace browser {

PrivilegesSection::PrivilegesSection(const embedder::Application& application)
    : QGroupBox(QStringLiteral("Privileges of ") + QString::fromStdString(application.name)) {
    auto* layout = new QVBoxLayout(this);
    std::set<std::string> names;
    for (const embedder::Command& command : embedder::commands()) names.insert(command.privilege);
    for (const std::string& name : names) {
        const bool isGranted = application.grants.count(embedder::privilegeIdentifier(name)) != 0;
        auto* line = new QLabel;
        line->setTextFormat(Qt::PlainText);
        line->setObjectName(QString::fromStdString(name));
        line->setText(
            (isGranted ? QStringLiteral("\u2713 %1") : QStringLiteral("\u2717 %1, not granted"))
                .arg(QString::fromStdString(name)));
        layout->addWidget(line);
    }
}

}  // namespace browser
