#include "app/LogsWindow.h"

#include "app/views/LogsView.h"

#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace orvanel {
namespace {

constexpr QSize minimum{600, 400};
constexpr QSize atFirst{760, 520};

} // namespace

LogsWindow::LogsWindow(KumaController& controller, Dialogs& dialogs, Clock& clock)
    : AppWindow(u"Uptime Kuma Logs"_s) {
    setMinimumSize(minimum);
    resize(atFirst);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins({});
    layout->addWidget(new LogsView({controller, dialogs, clock}));
}

} // namespace orvanel
