#include "app/widgets/Buttons.h"

#include "app/widgets/PushButton.h"

#include <QBoxLayout>

namespace orvanel {
namespace {

QPushButton* add(QBoxLayout* layout, const QString& text, PushButton::Kind kind, std::function<void()> action) {
    auto* button = new PushButton(plainButtonText(text), kind);
    QObject::connect(button, &QPushButton::clicked, button, std::move(action));
    layout->addWidget(button);
    return button;
}

} // namespace

QString plainButtonText(const QString& text) {
    QString plain = text;
    return plain.replace(QLatin1Char('&'), QStringLiteral("&&"));
}

void setButtonText(QAbstractButton* button, const QString& text) {
    const QString plain = plainButtonText(text);
    if (plain != button->text()) {
        button->setText(plain);
    }
}

QPushButton* addButton(QBoxLayout* layout, const QString& text, std::function<void()> action) {
    return add(layout, text, PushButton::Kind::plain, std::move(action));
}

QPushButton* addDefaultButton(QBoxLayout* layout, const QString& text, std::function<void()> action) {
    return add(layout, text, PushButton::Kind::byDefault, std::move(action));
}

} // namespace orvanel
