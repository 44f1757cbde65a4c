#include "app/LogsWindow.h"

#include "app/views/LogsView.h"

#include <QVBoxLayout>

namespace orvanel {
namespace {

constexpr QSize minimum{600, 400};
constexpr QSize atFirst{760, 520};

} // namespace

LogsWindow::LogsWindow(KumaController& controller, Clock& clock)
    : AppWindow(QStringLiteral("Uptime Kuma Logs"))
    , m_dialogs([this] { return this; }) {
    setMinimumSize(minimum);
    resize(atFirst);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins({});
    layout->addWidget(new LogsView({controller, m_dialogs, clock}));
}

} // namespace orvanel
