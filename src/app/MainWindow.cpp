#include "app/MainWindow.h"

#include "app/views/MainView.h"

#include <QPushButton>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace orvanel {
namespace {

constexpr QSize minimum{560, 520};
constexpr QSize usual{640, 600};

} // namespace

MainWindow::MainWindow(ViewContext context)
    : AppWindow(u"Orvanel"_s)
    , m_view(new MainView(context)) {
    setMinimumSize(minimum);
    resize(usual);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins({});
    layout->addWidget(m_view);
}

QAbstractButton* MainWindow::defaultButton() const {
    return m_view->defaultButton();
}

} // namespace orvanel
