#include "app/views/GuideView.h"

#include "app/widgets/Buttons.h"
#include "app/widgets/Drawings.h"
#include "app/widgets/PushButton.h"
#include "app/widgets/TextLabel.h"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QScreen>
#include <QScrollArea>
#include <QScrollBar>

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace orvanel {
namespace {

constexpr QSize usualSize{440, 320};
constexpr int padding = 28;

struct Page {
    Symbol::Kind symbol;
    QString title;
    QString text;
};

const std::array<Page, 3>& pages() {
    static const std::array<Page, 3> table{{
        {Symbol::Kind::heartbeat, u"A control panel for Uptime Kuma"_s,
         u"Start and stop Uptime Kuma with one click, see which of your sites are up or down, and open "
         "the full dashboard for anything advanced."_s},
        {Symbol::Kind::box, u"It needs a Docker runtime"_s,
         u"Uptime Kuma runs in a Docker container. The app uses Colima, a free headless runtime with no "
         "desktop app. If it is missing, one click installs it with Homebrew."_s},
        {Symbol::Kind::shieldWithLock, u"Everything stays on this Mac"_s,
         u"The container only listens on this Mac (127.0.0.1) and your data lives in Application "
         "Support. Nothing is sent to a cloud service by this app."_s},
    }};
    return table;
}

int lastPage() {
    return static_cast<int>(pages().size()) - 1;
}

bool isReturn(const QKeyEvent& event) {
    return event.key() == Qt::Key_Return || event.key() == Qt::Key_Enter;
}

TextLabel* addCentred(QVBoxLayout* column, TextStyle style) {
    auto* label = new TextLabel(style);
    label->setAlignment(Qt::AlignHCenter);
    column->addWidget(label);
    return label;
}

} // namespace

GuideView::GuideView(QWidget* parent)
    : QDialog(parent)
    , m_area(new QScrollArea)
    , m_next(new PushButton({}, PushButton::Kind::byDefault)) {
    setWindowTitle(u"Welcome to Orvanel"_s);
    setWindowModality(Qt::WindowModal);
    auto* page = new QWidget;
    auto* lines = new QVBoxLayout(page);
    lines->setContentsMargins({});
    lines->setSpacing(spacing::items);
    for (const Page& content : pages()) {
        auto* symbol = new Symbol(content.symbol, TextStyle::picture);
        symbol->setAccented();
        m_symbols << symbol;
        lines->addWidget(symbol, 0, Qt::AlignHCenter);
    }
    m_title = addCentred(lines, TextStyle::title2);
    m_text = addCentred(lines, TextStyle::body);
    lines->addStretch();
    m_area->setAccessibleName(u"Introduction"_s);
    m_area->setFrameShape(QFrame::NoFrame);
    m_area->setWidgetResizable(true);
    m_area->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_area->setWidget(page);

    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(padding, padding, padding, padding);
    column->setSpacing(spacing::items);
    column->addWidget(m_area, 1);
    m_position = addCentred(column, TextStyle::body);
    m_position->setSecondary();
    column->addWidget(m_next, 0, Qt::AlignHCenter);
    connect(m_next, &QPushButton::clicked, this, &GuideView::goOn);
    showPage(0);
}

void GuideView::showPage(int page) {
    m_page = page;
    m_area->verticalScrollBar()->setValue(0);
    const Page& content = pages().at(static_cast<std::size_t>(page));
    for (int i = 0; i < m_symbols.size(); ++i) {
        m_symbols[i]->setVisible(i == page);
    }
    m_title->setContent(content.title);
    m_text->setContent(content.text);
    m_position->setContent(u"%1 of %2"_s.arg(page + 1).arg(pages().size()));
    setButtonText(m_next, page == lastPage() ? u"Get started"_s : u"Next"_s);
    // A screen reader stays on the button, but reads out the new page.
    setAccessibleName(content.title);
    setAccessibleDescription(content.text);
    fitSize();
}

/// Larger than usual only where a large font needs it, and never larger than the screen.
void GuideView::fitSize() {
    QLayout* const lines = m_area->widget()->layout();
    lines->activate();
    const int page = lines->totalHeightForWidth(usualSize.width() - 2 * padding);
    const int below = m_position->sizeHint().height() + m_next->sizeHint().height() + 2 * spacing::items;
    const int needed = std::max(usualSize.height(), page + below + 2 * padding);
    const QSize room = screen()->availableSize() - (frameGeometry().size() - size());
    const QSize fitting = QSize(usualSize.width(), needed).boundedTo(room);
    m_area->setFocusPolicy(fitting.height() < needed ? Qt::StrongFocus : Qt::NoFocus);
    setFixedSize(fitting);
}

void GuideView::goOn() {
    if (m_page == lastPage()) {
        accept();
        return;
    }
    showPage(m_page + 1);
}

/// A Return that is held down would turn all pages at once.
void GuideView::keyPressEvent(QKeyEvent* event) {
    if (isReturn(*event) && event->isAutoRepeat()) {
        return;
    }
    QDialog::keyPressEvent(event);
}

void GuideView::showEvent(QShowEvent* event) {
    QDialog::showEvent(event);
    // The frame around the guide is known only now.
    QMetaObject::invokeMethod(this, &GuideView::fitSize, Qt::QueuedConnection);
}

void GuideView::changeEvent(QEvent* event) {
    QDialog::changeEvent(event);
    if (event->type() == QEvent::FontChange) {
        refreshTextStyles(this);
        fitSize();
    }
}

} // namespace orvanel
