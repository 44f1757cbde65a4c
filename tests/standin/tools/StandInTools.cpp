#include "standin/tools/StandInTools.h"

#include "standin/tools/RealHost.h"
#include "standin/tools/StandInDocker.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

using namespace Qt::StringLiterals;

namespace orvanel::standin {
namespace {

constexpr const char* rootVariable = "ORVANEL_TOOL_ROOT";

} // namespace

StandInTools::StandInTools(const QStringList& tools) {
    if (qEnvironmentVariableIsSet(rootVariable)) {
        m_rootBefore = qgetenv(rootVariable);
    }
    qputenv(rootVariable, QFile::encodeName(toolRoot()));
    QDir(toolRoot()).mkpath(u"standin"_s);
    for (const QString& tool : tools) {
        put(tool);
    }
}

StandInTools::~StandInTools() {
    const auto container = state().container;
    if (container) {
        RealHost(folder().path(), {}).endServer(container->server, true);
    }
    if (m_rootBefore) {
        qputenv(rootVariable, *m_rootBefore);
    } else {
        qunsetenv(rootVariable);
    }
}

QString StandInTools::path(const QString& tool, const QString& folder) const {
    return m_root.filePath(folder + u'/' + tool);
}

void StandInTools::put(const QString& tool, const QString& folder) const {
    const QString target = path(tool, folder);
    QDir().mkpath(QFileInfo(target).path());
    QFile::link(m_root.filePath(u"standin"_s), path(u"standin"_s, folder));
    const QString source = QString::fromUtf8(ORVANEL_STANDIN_TOOLS "/") + tool;
    if (!QFileInfo(source).isExecutable() || !QFile::link(source, target)) {
        qFatal("could not put %s in place", qPrintable(target));
    }
}

void StandInTools::remove(const QString& tool, const QString& folder) const {
    if (!QFile::remove(path(tool, folder))) {
        qFatal("could not remove %s", qPrintable(path(tool, folder)));
    }
}

DockerState StandInTools::state() const {
    return folder().load();
}

void StandInTools::change(const std::function<void(DockerState&)>& action) const {
    folder().change(action);
}

QList<StandInTools::Call> StandInTools::calls() const {
    QList<Call> result;
    for (const StateFolder::Call& call : folder().calls()) {
        Call one{QString::fromStdString(call.tool), {}};
        for (const std::string& argument : call.arguments) {
            one.arguments << QString::fromStdString(argument);
        }
        result << one;
    }
    return result;
}

QList<QStringList> StandInTools::callsOf(const QString& tool) const {
    QList<QStringList> result;
    for (const Call& call : calls()) {
        if (call.tool == tool) {
            result << call.arguments;
        }
    }
    return result;
}

QStringList StandInTools::commands() const {
    QStringList result;
    for (const StateFolder::Call& call : folder().calls()) {
        result << QString::fromStdString(commandName(call.tool, call.arguments).value_or("?"));
    }
    return result;
}

void StandInTools::forgetCalls() const {
    QFile::remove(m_root.filePath(u"standin/standin-calls.log"_s));
}

StateFolder StandInTools::folder() const {
    return StateFolder(m_root.filePath(u"standin"_s).toStdString());
}

} // namespace orvanel::standin
