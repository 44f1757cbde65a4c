#include "app/widgets/DetailsSection.h"

#include "app/widgets/Focus.h"
#include "app/widgets/TextBox.h"
#include "app/widgets/TextStyle.h"

#include <QToolButton>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace orvanel {
namespace {

constexpr int highest = 160;

} // namespace

DetailsSection::DetailsSection(QWidget* parent)
    : QWidget(parent)
    , m_button(new QToolButton) {
    m_button->setText(u"Show details"_s);
    m_button->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    m_button->setAutoRaise(true);
    m_button->setFocusPolicy(Qt::StrongFocus);
    connect(m_button, &QToolButton::clicked, this, [this] { m_isOpen ? collapse() : expand(); });

    auto* column = new QVBoxLayout(this);
    column->setContentsMargins({});
    column->setSpacing(spacing::related);
    column->addWidget(m_button, 0, Qt::AlignLeading);
    collapse();
}

void DetailsSection::setDetails(const QString& text) {
    if (text == m_details) {
        return;
    }
    m_details = text;
    if (m_isOpen) {
        m_box->setContent(m_details);
        fitBox();
    }
}

void DetailsSection::expand() {
    m_isOpen = true;
    m_button->setArrowType(Qt::DownArrow);
    m_button->setAccessibleDescription(u"Expanded"_s);
    if (m_box == nullptr) {
        m_box = new TextBox(u"Details"_s);
        m_box->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
        layout()->addWidget(m_box);
        // Without this, Tab would reach the box only after widgets that were added to the window since.
        setTabOrder(m_button, m_box);
    }
    m_box->setContent(m_details);
    m_box->show();
    layout()->activate();
    fitBox();
}

void DetailsSection::collapse() {
    m_isOpen = false;
    m_button->setArrowType(Qt::RightArrow);
    m_button->setAccessibleDescription(u"Collapsed"_s);
    if (m_box != nullptr) {
        hideSafely(m_box);
        m_box->setContent({});
        layout()->activate();
    }
}

/// The height depends on the width, which decides how lines wrap.
void DetailsSection::fitBox() {
    if (m_isOpen) {
        m_box->fitHeight(highest);
    }
}

void DetailsSection::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    layout()->activate();
    fitBox();
}

} // namespace orvanel
