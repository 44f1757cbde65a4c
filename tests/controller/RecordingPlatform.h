#pragma once

#include "controller/MonitorTransitions.h"
#include "platform/Desktop.h"
#include "platform/Dialogs.h"
#include "platform/LoginItem.h"
#include "platform/Notifier.h"
#include "task/Event.h"

#include <QStringList>

namespace orvanel::test {

/// Stand-ins for the desktop that only record what was asked of them.

class RecordingNotifier final : public Notifier {
public:
    bool may = true;
    int authorizationRequests = 0;
    QList<MonitorNews> posted;

    bool mayPost() const override { return may; }
    void requestAuthorization() override { authorizationRequests += 1; }
    void post(const QString& title, const QString& body) override { posted.append({title, body}); }
};

class RecordingLoginItem final : public LoginItem {
public:
    bool enabled = false;
    /// The failure of the next changes, if they are to fail.
    std::optional<QString> failure;

    bool isEnabled() const override { return enabled; }
    std::optional<QString> setEnabled(bool enable) override {
        if (!failure) {
            enabled = enable;
        }
        return failure;
    }
};

class RecordingDesktop final : public Desktop {
public:
    QList<QUrl> opened;
    QStringList revealed;

    void openAddress(const QUrl& address) override { opened.append(address); }
    void reveal(const QString& path) override { revealed.append(path); }
};

/// Every question stays open until the test answers it.
class RecordingDialogs final : public Dialogs {
public:
    struct Question {
        Alert alert;
        Event<bool> answer;
    };
    struct PathQuestion {
        QString title;
        Event<std::optional<QString>> answer;
    };

    QList<Question> questions;
    QList<PathQuestion> pathQuestions;
    QList<SavePanel> savePanels;
    QList<OpenPanel> openPanels;

    /// The user is gone: every question is cancelled, later ones too.
    bool isClosed = false;
    void close() {
        isClosed = true;
        answerAll(false);
    }

    void answerAll(bool confirmed) {
        for (const Question& question : questions) {
            question.answer.complete(confirmed);
        }
        for (const PathQuestion& question : pathQuestions) {
            question.answer.complete(std::nullopt);
        }
    }

    QCoro::Task<bool> confirm(Alert alert) override {
        const Event<bool> answer;
        questions.append({alert, answer});
        if (isClosed) {
            answer.complete(false);
        }
        const bool confirmed = co_await answer;
        co_return confirmed;
    }
    QCoro::Task<std::optional<QString>> chooseSavePath(SavePanel panel) override {
        savePanels.append(panel);
        return choosePath(panel.title);
    }
    QCoro::Task<std::optional<QString>> chooseOpenPath(OpenPanel panel) override {
        openPanels.append(panel);
        return choosePath(panel.title);
    }

private:
    QCoro::Task<std::optional<QString>> choosePath(QString title) {
        const Event<std::optional<QString>> answer;
        pathQuestions.append({title, answer});
        const std::optional<QString> path = co_await answer;
        co_return path;
    }
};

} // namespace orvanel::test
