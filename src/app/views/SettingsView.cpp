#include "app/views/SettingsView.h"

#include "app/views/settings/BackupsSection.h"
#include "app/views/settings/DockerToolSection.h"
#include "app/views/settings/GeneralSection.h"
#include "app/views/settings/ServerSection.h"
#include "app/views/settings/UpdatesSection.h"
#include "app/widgets/ButtonRow.h"
#include "app/widgets/Buttons.h"
#include "controller/KumaController.h"

#include <QEvent>
#include <QScrollArea>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace orvanel {
namespace {

class DangerSection final : public SettingsSection {
public:
    explicit DangerSection(ViewContext context)
        : SettingsSection(u"Danger zone"_s) {
        addDestructiveButton(addButtonRow(), u"Remove everything…"_s,
                             [context] { context.controller.removeEverything(); });
    }
    void render() override {}
};

class AboutSection final : public SettingsSection {
public:
    AboutSection()
        : SettingsSection(u"About"_s) {
        addCaption(u"Orvanel controls Uptime Kuma running in Docker on this Mac."_s);
        addCaption(u"Uptime Kuma is made by the Uptime Kuma project and published under the MIT License."_s);
    }
    void render() override {}
};

} // namespace

SettingsView::SettingsView(ViewContext context, Dialogs& dialogs, QWidget* parent)
    : View(parent)
    , m_trigger(context.controller, [this] { render(); }) {
    auto* content = new QWidget;
    auto* column = new QVBoxLayout(content);
    column->setContentsMargins(spacing::padding, spacing::padding, spacing::padding, spacing::padding);
    column->setSpacing(spacing::related);
    addSection(column, new ServerSection(context));
    addSection(column, new GeneralSection(context));
    addSection(column, new BackupsSection(context));
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

/// The desktop's own settings may have changed the login item meanwhile.
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
