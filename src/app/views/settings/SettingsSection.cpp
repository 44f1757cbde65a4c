#include "app/views/settings/SettingsSection.h"

#include "app/widgets/Drawings.h"
#include "app/widgets/TextField.h"

#include <QHBoxLayout>

using namespace Qt::StringLiterals;

namespace orvanel {
namespace {

constexpr int fieldWidth = 260;
constexpr int narrowFieldWidth = 140;

} // namespace

SettingProblem::SettingProblem(QWidget* control)
    : TextLabel(TextStyle::caption)
    , m_control(control)
    , m_usualDescription(control->accessibleDescription()) {
    setMeaning(Meaning::pending);
    hide();
}

void SettingProblem::showProblem(const QString& problem) {
    setContent(problem);
    setVisible(!problem.isEmpty());
    m_control->setAccessibleDescription(problem.isEmpty() ? m_usualDescription : problem);
}

void SettingProblem::showWhetherSaved(bool isSaved) {
    showProblem(isSaved ? QString() : u"This could not be saved. It will be lost when Orvanel quits."_s);
}

TextField* SettingsSection::addField(const QString& label) {
    auto* field = new TextField(label);
    field->setMinimumWidth(narrowFieldWidth);
    field->setMaximumWidth(fieldWidth);
    auto* name = new TextLabel(TextStyle::body, label);
    name->setBuddy(field);
    // Where both do not fit, the field gives way: a field scrolls.
    name->setWordWrap(false);
    auto* row = new QHBoxLayout;
    row->setSpacing(spacing::related);
    row->addWidget(name);
    row->addStretch(1);
    row->addWidget(field, 1000);
    column()->addLayout(row);
    return field;
}

SettingProblem* SettingsSection::addProblem(QWidget* control) {
    auto* problem = new SettingProblem(control);
    column()->addWidget(problem);
    return problem;
}

TextLabel* SettingsSection::addCaption(const QString& text) {
    TextLabel* caption = addText(TextStyle::caption, text);
    caption->setSecondary();
    return caption;
}

void SettingsSection::addDivider() {
    column()->addWidget(new Divider);
}

} // namespace orvanel
