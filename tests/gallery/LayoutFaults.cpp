#include "Faults.h"

#include <QAbstractButton>
#include <QAbstractScrollArea>
#include <QAccessible>
#include <QLabel>
#include <QLineEdit>

using namespace Qt::StringLiterals;

namespace orvanel::test {
namespace {

/// Whether one of our layouts places the widget's children side by side.
bool isLayoutOfOurs(const QWidget* parent) {
    const bool isMadeOfParts = qobject_cast<const QAbstractScrollArea*>(parent) != nullptr ||
                               qobject_cast<const QLineEdit*>(parent) != nullptr;
    return !isMadeOfParts && parent->layout() != nullptr;
}

QList<QWidget*> seenChildren(const QWidget* parent) {
    QList<QWidget*> children;
    for (QObject* child : parent->children()) {
        auto* widget = qobject_cast<QWidget*>(child);
        if (widget != nullptr && widget->isVisible() && !widget->isWindow()) {
            children << widget;
        }
    }
    return children;
}

QList<const QWidget*> layoutsOf(const QWidget& window) {
    QList<const QWidget*> layouts;
    for (const QWidget* widget : window.findChildren<const QWidget*>()) {
        if (widget->isVisible() && isLayoutOfOurs(widget)) {
            layouts << widget;
        }
    }
    if (isLayoutOfOurs(&window)) {
        layouts << &window;
    }
    return layouts;
}

/// The width of the text as it is wrapped now. It is larger than the label if a word does not fit.
int widthOfText(const QLabel& label) {
    const int flags = static_cast<int>(label.alignment()) | (label.wordWrap() ? Qt::TextWordWrap : 0);
    return label.fontMetrics().boundingRect(QRect(0, 0, label.width(), 100'000), flags, label.text()).width();
}

} // namespace

QString describe(const QWidget* widget) {
    const auto* label = qobject_cast<const QLabel*>(widget);
    const auto* button = qobject_cast<const QAbstractButton*>(widget);
    const QString text = label != nullptr    ? label->text()
                         : button != nullptr ? button->text()
                                             : widget->accessibleName();
    return u"%1 \"%2\""_s.arg(QString::fromLatin1(widget->metaObject()->className()), text.left(60));
}

QStringList namelessControls(const QWidget& window) {
    QStringList found;
    for (QWidget* widget : window.findChildren<QWidget*>()) {
        if (!widget->isVisible() || widget->focusPolicy() == Qt::NoFocus) {
            continue;
        }
        QAccessibleInterface* const face = QAccessible::queryAccessibleInterface(widget);
        if (face == nullptr || face->text(QAccessible::Name).isEmpty()) {
            found << u"no name: "_s + describe(widget);
        }
    }
    return found;
}

QStringList clippedTexts(const QWidget& window) {
    QStringList found;
    for (const QLabel* label : window.findChildren<QLabel*>()) {
        if (!label->isVisible() || label->text().isEmpty()) {
            continue;
        }
        const int height = label->wordWrap() ? label->heightForWidth(label->width()) : label->fontMetrics().height();
        if (label->height() < height || label->width() < widthOfText(*label)) {
            found << u"clipped: %1, %2 x %3 for %4 x %5"_s.arg(describe(label))
                         .arg(label->width())
                         .arg(label->height())
                         .arg(widthOfText(*label))
                         .arg(height);
        }
    }
    for (const QAbstractButton* button : window.findChildren<QAbstractButton*>()) {
        const QSize text = button->fontMetrics().size(Qt::TextShowMnemonic, button->text());
        if (button->isVisible() && (button->width() < text.width() || button->height() < text.height())) {
            found << u"clipped: "_s + describe(button);
        }
    }
    for (const QWidget* parent : layoutsOf(window)) {
        for (const QWidget* child : seenChildren(parent)) {
            if (!parent->rect().contains(child->geometry())) {
                found << u"%1 stands out of %2"_s.arg(describe(child), describe(parent));
            }
        }
    }
    return found;
}

QStringList overlaps(const QWidget& window) {
    QStringList found;
    for (const QWidget* parent : layoutsOf(window)) {
        const QList<QWidget*> children = seenChildren(parent);
        for (qsizetype i = 0; i < children.size(); ++i) {
            for (qsizetype j = i + 1; j < children.size(); ++j) {
                if (children[i]->geometry().intersects(children[j]->geometry())) {
                    found << u"%1 covers %2"_s.arg(describe(children[j]), describe(children[i]));
                }
            }
        }
    }
    return found;
}

} // namespace orvanel::test
