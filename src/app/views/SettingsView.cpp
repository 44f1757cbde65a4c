#include "app/views/SettingsView.h"

#include "app/views/settings/AboutSection.h"
#include "app/views/settings/DangerSection.h"
#include "app/views/settings/DockerToolSection.h"
#include "app/views/settings/GeneralSection.h"
#include "app/views/settings/ServerSection.h"
#include "app/views/settings/UpdatesSection.h"

#include <QEvent>
#include <QScrollArea>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace orvanel {

SettingsView::SettingsView(ViewContext context, Dialogs& dialogs, QWidget* parent)
    : View(parent)
    , m_trigger(context.controller, [this] { render(); }) {
    auto* content = new QWidget;
    auto* column = new QVBoxLayout(content);
    column->setContentsMargins(spacing::padding, spacing::padding, spacing::padding, spacing::padding);
    column->setSpacing(spacing::related);
    addSection(column, new ServerSection(context));
    addSection(column, new GeneralSection(context));
    addSection(column, new DockerToolSection(context, dialogs));
    addSection(column, new UpdatesSection(context));
    addSection(column, new DangerSection(context));
    addSection(column, new AboutSection);
    column->addStretch();

    auto* area = new QScrollArea;
    area->setAccessibleName(u"Settings"_s);
    area->setFrameShape(QFrame::NoFrame);
    area->setWidgetResizable(true);
    area->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    area->setWidget(content);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins({});
    layout->addWidget(area);
}

void SettingsView::addSection(QVBoxLayout* column, SettingsSection* section) {
    if (!m_sections.isEmpty()) {
        column->addSpacing(spacing::items - spacing::related);
    }
    column->addWidget(new TextLabel(TextStyle::headline, section->accessibleName()));
    column->addWidget(section);
    m_sections.append(section);
}

void SettingsView::showEvent(QShowEvent* event) {
    View::showEvent(event);
    m_trigger.setActive(true);
}

void SettingsView::hideEvent(QHideEvent* event) {
    View::hideEvent(event);
    m_trigger.setActive(false);
}

/// The login item may have been changed in the desktop's own settings meanwhile.
bool SettingsView::event(QEvent* event) {
    if (event->type() == QEvent::WindowActivate) {
        render();
    }
    return View::event(event);
}

void SettingsView::render() {
    for (SettingsSection* section : std::as_const(m_sections)) {
        section->render();
    }
}

} // namespace orvanel
