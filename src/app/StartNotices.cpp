#include "app/StartNotices.h"

#include "platform/AppIdentity.h"

#include <QDialog>
#include <QEventLoop>
#include <QMessageBox>
#include <QTimer>

#include <cstdlib>
#include <optional>
#include <thread>

using namespace Qt::StringLiterals;

namespace orvanel {
namespace {

// SingleInstance::start() has waited for a second before.
constexpr std::chrono::milliseconds silence{1000};

void setUp(QMessageBox& box, const QString& text, const QString& explanation) {
    box.setWindowTitle(identity::applicationName());
    box.setText(text);
    box.setInformativeText(explanation);
}

} // namespace

void tellThatDataIsInUse() {
    QMessageBox box;
    setUp(box, u"Another copy of Orvanel, which cannot be reached from here, uses the same data."_s,
          u"It may run in another session of yours. Quit it there first."_s);
    box.setIcon(QMessageBox::Warning);
    QEventLoop loop;
    QObject::connect(&box, &QDialog::finished, &loop, [&loop] { loop.quit(); });
    box.show();
    box.activateWindow();
    loop.exec();
}

SingleInstance::Outcome waitForLeavingCopy(SingleInstance& instance) {
    QMessageBox box;
    setUp(box, u"Orvanel is still closing."_s, u"It starts again as soon as that is done."_s);
    box.setIcon(QMessageBox::Information);
    box.setStandardButtons(QMessageBox::Cancel);

    QEventLoop loop;
    QObject::connect(&box, &QDialog::finished, &loop, [&loop] { loop.quit(); });
    QTimer::singleShot(silence, &box, [&box] {
        box.show();
        box.activateWindow();
    });
    std::optional<SingleInstance::Outcome> outcome;
    // Waiting for a lock blocks.
    std::thread waiter([&] {
        const auto result = instance.waitForEnd();
        QMetaObject::invokeMethod(
            &loop,
            [&loop, &outcome, result] {
                outcome = result;
                loop.quit();
            },
            Qt::QueuedConnection);
    });
    loop.exec();
    if (!outcome) {
        // The wait cannot be broken off, and this process has nothing else to do.
        std::_Exit(EXIT_SUCCESS);
    }
    waiter.join();
    return *outcome;
}

} // namespace orvanel
