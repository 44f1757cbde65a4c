#include "app/views/settings/SettingsSection.h"

#include "app/widgets/Drawings.h"
#include "app/widgets/TextField.h"

#include <QHBoxLayout>

namespace orvanel {
namespace {

constexpr int fieldWidth = 260;

} // namespace

QLineEdit* SettingsSection::addField(const QString& label) {
    auto* field = new TextField(label);
    field->setFixedWidth(fieldWidth);
    auto* name = new TextLabel(TextStyle::body, label);
    name->setBuddy(field);
    auto* row = new QHBoxLayout;
    row->setSpacing(spacing::related);
    row->addWidget(name, 1);
    row->addWidget(field);
    column()->addLayout(row);
    return field;
}

TextLabel* SettingsSection::addCaption(const QString& text) {
    TextLabel* caption = addText(TextStyle::caption, text);
    caption->setSecondary();
    return caption;
}

void SettingsSection::addDivider() {
    column()->addWidget(new Divider);
}

void showInField(QLineEdit* field, const QString& text) {
    if (field->text() != text) {
        field->setText(text);
        if (!field->hasFocus()) {
            field->setCursorPosition(0);
        }
    }
}

} // namespace orvanel
