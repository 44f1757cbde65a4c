#include "app/widgets/Buttons.h"

#include "app/widgets/MenuButton.h"
#include "app/widgets/PlainText.h"
#include "app/widgets/PushButton.h"

#include <QLayout>
#include <QMenu>

namespace orvanel {
namespace {

QPushButton* add(QLayout* layout, const QString& text, PushButton::Kind kind, std::function<void()> action) {
    auto* button = new PushButton(plainButtonText(text), kind);
    QObject::connect(button, &QPushButton::clicked, button, std::move(action));
    layout->addWidget(button);
    return button;
}

} // namespace

void setButtonText(QAbstractButton* button, const QString& text) {
    const QString plain = plainButtonText(text);
    if (plain != button->text()) {
        button->setText(plain);
    }
}

QPushButton* addButton(QLayout* layout, const QString& text, std::function<void()> action) {
    return add(layout, text, PushButton::Kind::plain, std::move(action));
}

QPushButton* addDestructiveButton(QLayout* layout, const QString& text, std::function<void()> action) {
    return add(layout, text, PushButton::Kind::destructive, std::move(action));
}

QPushButton* addDefaultButton(QLayout* layout, const QString& text, std::function<void()> action) {
    return add(layout, text, PushButton::Kind::byDefault, std::move(action));
}

void setDefaultLook(QPushButton* button, bool isDefault) {
    if (auto* const known = qobject_cast<PushButton*>(button)) {
        known->setKind(isDefault ? PushButton::Kind::byDefault : PushButton::Kind::plain);
    }
}

QMenu* addMenuButton(QLayout* layout, const QString& text) {
    auto* button = new MenuButton(plainButtonText(text));
    layout->addWidget(button);
    return button->popupMenu();
}

void addMenuEntry(QMenu* menu, const QString& text, std::function<void()> action) {
    QAction* const entry = menu->addAction(plainButtonText(text));
    QObject::connect(entry, &QAction::triggered, entry, std::move(action));
}

} // namespace orvanel
