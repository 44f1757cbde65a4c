#include "controller/RootHelper.h"

#include "helper/PackageManager.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

using namespace Qt::StringLiterals;

namespace orvanel {
namespace {

bool isExecutable(const QString& path) {
    const QFileInfo file(path);
    return file.isFile() && file.isExecutable();
}

/// From the folder of the program: where an installation has it, and where a build has it.
std::optional<QString> helperProgram(const QDir& folder) {
    for (const QString& place : {QString::fromUtf8(ORVANEL_HELPER_FROM_PROGRAM), u"../helper/orvanel-docker-setup"_s}) {
        const QString path = QDir::cleanPath(folder.absoluteFilePath(place));
        if (isExecutable(path)) {
            return path;
        }
    }
    return std::nullopt;
}

} // namespace

QStringList RootHelper::arguments(const QString& verb) const {
    return {u"--disable-internal-agent"_s, program, verb};
}

std::optional<RootHelper> RootHelper::find() {
    return findFrom(QCoreApplication::applicationDirPath());
}

std::optional<RootHelper> RootHelper::findFrom(const QString& programFolder) {
    const QString root = qEnvironmentVariable("ORVANEL_TOOL_ROOT");
    const QString pkexec = root + u"/usr/bin/pkexec"_s;
    const QString polkit = root + u"/usr/share/dbus-1/system-services/org.freedesktop.PolicyKit1.service"_s;
    if (!isExecutable(pkexec) || !QFileInfo::exists(polkit)) {
        return std::nullopt;
    }
    const std::optional<QString> program = helperProgram(QDir(programFolder));
    if (!program) {
        return std::nullopt;
    }
    RootHelper helper{.pkexec = pkexec, .program = *program, .installCommand = {}};
    if (const auto manager = packageManagerOf(root.toStdString())) {
        helper.installCommand = QString::fromStdString(manager->shownCommand);
    }
    return helper;
}

} // namespace orvanel
