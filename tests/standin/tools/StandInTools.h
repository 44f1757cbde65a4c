#pragma once

#include "standin/tools/StateFolder.h"

#include <QStringList>
#include <QTemporaryDir>

#include <functional>
#include <optional>

using namespace Qt::StringLiterals;

namespace orvanel::standin {

/// A throw-away folder that stands for "/" and holds the stand-in tools, with one state for all of them. As long as it
/// lives, the tools are found there (ORVANEL_TOOL_ROOT); its end ends the server that they started.
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
    /// Where the tool lies or would lie.
    QString path(const QString& tool, const QString& folder = u"usr/local/bin"_s) const;

    /// Puts a tool into a folder of the root, or takes it away.
    void put(const QString& tool, const QString& folder = u"usr/local/bin"_s) const;
    void remove(const QString& tool, const QString& folder = u"usr/local/bin"_s) const;

    DockerState state() const;
    /// Changes the state with its lock held, so that nothing that a running tool does is lost.
    void change(const std::function<void(DockerState&)>& action) const;

    /// All calls so far, in the order in which they came; or the argument lists of one tool.
    QList<Call> calls() const;
    QList<QStringList> callsOf(const QString& tool) const;
    /// The calls as commandName() names them ("compose up"); "?" stands for one that the stand-in does not know.
    QStringList commands() const;
    void forgetCalls() const;

private:
    StateFolder folder() const;

    QTemporaryDir m_root;
    std::optional<QByteArray> m_rootBefore;
};

} // namespace orvanel::standin
