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
    connect(m_button, &QToolButton::clicked, this, [this] { setOpen(!m_isOpen); });

    auto* column = new QVBoxLayout(this);
    column->setContentsMargins({});
    column->setSpacing(spacing::related);
    column->addWidget(m_button, 0, Qt::AlignLeading);
    setOpen(false);
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

void DetailsSection::setOpen(bool open) {
    m_isOpen = open;
    m_button->setArrowType(open ? Qt::DownArrow : Qt::RightArrow);
    m_button->setAccessibleDescription(open ? u"Expanded"_s : u"Collapsed"_s);
    if (open && m_box == nullptr) {
        m_box = new TextBox(u"Details"_s);
        m_box->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
        layout()->addWidget(m_box);
        // Also where the window has got other things since.
        setTabOrder(m_button, m_box);
    }
    if (m_box != nullptr) {
        m_box->setContent(open ? m_details : QString());
        setShown(m_box, open);
        layout()->activate();
        fitBox();
    }
}

/// How lines wrap depends on the width.
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
