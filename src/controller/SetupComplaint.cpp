#include "controller/SetupComplaint.h"

#include "helper/SetupStatus.h"
#include "process/CommandResult.h"

#include <QStringList>

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace orvanel {
namespace {

// What pkexec itself ends with: when the question was dismissed, and otherwise.
constexpr int dismissed = 126;
constexpr int pkexecFailed = 127;

struct Complaint {
    /// In lower case; any of them.
    QStringList phrases;
    QString sentence;
};

const Complaint& unreachable() {
    static const Complaint all{{u"could not resolve"_s, u"couldn't resolve"_s, u"temporary failure resolving"_s,
                                u"could not connect"_s, u"couldn't connect"_s, u"unable to connect"_s,
                                u"failed to connect"_s, u"connection failed"_s, u"connection timed out"_s,
                                u"connection refused"_s, u"network is unreachable"_s, u"no route to host"_s,
                                u"timeout was reached"_s},
                               u"The package sources could not be reached. Check your connection and try again."_s};
    return all;
}

const Complaint& notOffered() {
    static const Complaint all{{u"unable to locate package"_s, u"no installation candidate"_s,
                                u"no match for argument"_s, u"target not found"_s, u"not found in package names"_s,
                                u"no provider of"_s, u"unable to find a match"_s},
                               u"The package sources of this computer do not have Docker."_s};
    return all;
}

/// The first that fits counts: a locked or full computer brings other complaints with it, a silent network too. apt
/// names the lock also while it waits for it.
const std::array<Complaint, 7>& complaints() {
    static const std::array<Complaint, 7> all{{
        {{u"e: could not get lock"_s, u"unable to acquire the dpkg frontend lock"_s, u"unable to lock"_s,
          u"system management is locked"_s, u"failed to obtain rpm transaction lock"_s,
          u"can't create transaction lock"_s},
         u"Another program is installing software right now. Try again when it is done."_s},
        {{u"no space left"_s, u"enough free space"_s, u"not enough free disk space"_s, u"insufficient space"_s,
          u"more space needed"_s, u"more space on the"_s, u"not enough space"_s},
         u"Your disk is full. Free some space and try again."_s},
        {{u"dpkg was interrupted"_s},
         u"An earlier installation was interrupted. Run “sudo dpkg --configure -a”, then try again."_s},
        {{u"need to be removed but remove is disabled"_s, u"are in conflict"_s, u"conflicts with"_s},
         u"Installing Docker would remove other software, so nothing was installed."_s},
        unreachable(),
        {{u"hash sum mismatch"_s, u"does not have a release file"_s, u"gpg error"_s, u"bad checksum"_s,
          u"checksum doesn't match"_s, u"invalid or corrupted package"_s, u"signature verification failed"_s,
          u"failed to fetch"_s, u"failed retrieving file"_s, u"404  not found"_s, u"no more mirrors"_s,
          u"all mirrors were tried"_s, u"failed to download"_s},
         u"The package sources sent something broken or out of date. Try again later."_s},
        notOffered(),
    }};
    return all;
}

bool isSaid(const Complaint& complaint, const QString& text) {
    return std::any_of(complaint.phrases.begin(), complaint.phrases.end(),
                       [&text](const QString& phrase) { return text.contains(phrase); });
}

/// The output of the last command. The helper shows each before it runs it.
QString lastStep(const QString& output) {
    const qsizetype command = output.lastIndexOf(u"\n$ "_s);
    return output.mid(command + 1);
}

QString sentenceOfPackageManager(const QString& output) {
    const QString text = output.toLower();
    const QString step = lastStep(text);
    const auto complaint = std::find_if(complaints().begin(), complaints().end(),
                                        [&step](const Complaint& one) { return isSaid(one, step); });
    if (complaint == complaints().end()) {
        return u"The package manager could not install Docker."_s;
    }
    // Without a network, the lists could not be fetched before, and so the package is not known.
    const bool isCause = complaint->sentence == notOffered().sentence && isSaid(unreachable(), text);
    return isCause ? unreachable().sentence : complaint->sentence;
}

QString sentenceOfPkexec(const CommandResult& result) {
    if (result.status == dismissed) {
        return u"The question for your password was dismissed, so nothing was changed."_s;
    }
    if (result.output.contains(u"No authentication agent"_s)) {
        return u"This desktop has no program that asks for your password, so nothing was changed."_s;
    }
    if (result.output.contains(u"Not authorized"_s)) {
        return u"The password was not accepted, or you may not administer this computer, so nothing was changed."_s;
    }
    return u"Orvanel could not ask for your password, so nothing was changed."_s;
}

QString sentenceOfHelper(SetupStatus status, const QString& output) {
    switch (status) {
    case SetupStatus::cancelled:
        return u"Cancelled."_s;
    case SetupStatus::cancelledAfterStep:
        return u"Cancelled after the step that was under way."_s;
    case SetupStatus::alreadyRunning:
        return u"Docker is being set up already."_s;
    case SetupStatus::noPackageManager:
        return u"This computer has no package manager that Orvanel knows."_s;
    case SetupStatus::packagesFailed:
        return sentenceOfPackageManager(output);
    case SetupStatus::serviceFailed:
        return u"Docker is installed, but its service could not be started."_s;
    case SetupStatus::groupFailed:
        return u"You could not be added to the group “docker”."_s;
    case SetupStatus::socketFailed:
        return u"You cannot use Docker right away. Log out and back in to use it."_s;
    case SetupStatus::done:
    case SetupStatus::badRequest:
    case SetupStatus::badCaller:
        break;
    }
    return u"Docker could not be set up."_s;
}

} // namespace

Outcome outcomeOfHelper(const CommandResult& result) {
    if (result.status == static_cast<int>(SetupStatus::done)) {
        return std::nullopt;
    }
    const bool isSignal = result.status > pkexecFailed;
    const bool isPkexec = result.status < 0 || result.status >= dismissed;
    // Only pkexec, while it asks for the password, is ended by a cancel.
    if (isPkexec && (result.cancelled || result.timedOut)) {
        return failed(result.cancelled ? u"Cancelled."_s : u"Nobody answered the question for the password."_s,
                      result.output);
    }
    if (isSignal) {
        return failed(u"Setting up Docker was interrupted. What it had begun may still be going on."_s, result.output);
    }
    const QString sentence =
        isPkexec ? sentenceOfPkexec(result) : sentenceOfHelper(static_cast<SetupStatus>(result.status), result.output);
    return failed(sentence, result.output);
}

} // namespace orvanel
