#include "app/SettingsWindow.h"

#include "app/views/SettingsView.h"

#include <QScreen>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace orvanel {
namespace {

constexpr QSize frame{560, 640};

} // namespace

SettingsWindow::SettingsWindow(ViewContext context, Dialogs& dialogs)
    : AppWindow(u"Settings"_s) {
    // On a small screen the settings scroll.
    setFixedSize(frame.boundedTo(screen()->availableSize()));
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins({});
    layout->addWidget(new SettingsView(context, dialogs));
}

} // namespace orvanel
