#pragma once

#include "standin/tools/StateFolder.h"

#include <QStringList>
#include <QTemporaryDir>

#include <functional>
#include <optional>

using namespace Qt::StringLiterals;

namespace orvanel::standin {

/// A throw-away folder that stands for "/" and holds the stand-in tools, which share one state. The tools are found
/// there (ORVANEL_TOOL_ROOT) as long as this object lives. Its destructor ends the server that they started.
class StandInTools {
public:
    struct Call {
        QString tool;
        QStringList arguments;
    };

    explicit StandInTools(const QStringList& tools = {u"docker"_s});
    ~StandInTools();
    StandInTools(const StandInTools&) = delete;
    StandInTools& operator=(const StandInTools&) = delete;

    QString toolRoot() const { return m_root.path(); }
    /// The path where the tool is or would be.
    QString path(const QString& tool, const QString& folder = u"usr/local/bin"_s) const;

    /// Put a tool into a folder of the root, and remove it.
    void put(const QString& tool, const QString& folder = u"usr/local/bin"_s) const;
    void remove(const QString& tool, const QString& folder = u"usr/local/bin"_s) const;

    DockerState state() const;
    /// Changes the state while holding its lock, so that no change by a running tool is lost.
    void change(const std::function<void(DockerState&)>& action) const;

    /// All calls so far, in order; or the argument lists of one tool.
    QList<Call> calls() const;
    QList<QStringList> callsOf(const QString& tool) const;
    /// The names of the calls, as from commandName() ("compose up"); "?" for a call that the stand-in does not know.
    QStringList commands() const;
    void forgetCalls() const;

private:
    StateFolder folder() const;

    QTemporaryDir m_root;
    std::optional<QByteArray> m_rootBefore;
};

} // namespace orvanel::standin
