#pragma once

#include "ControllerFixture.h"
#include "Find.h"
#include "app/views/SettingsView.h"
#include "app/widgets/Switch.h"

#include <QLineEdit>
#include <QTest>

using namespace Qt::StringLiterals;

namespace orvanel::test {

inline const auto updateText = u"Update"_s;
inline const auto checkText = u"Check for updates"_s;
inline const auto notesText = u"Release notes"_s;

/// The settings in a world where a test plays Docker.
struct ShownSettings {
    /// `prepare` is called before there is a controller.
    explicit ShownSettings(const std::function<void(ControllerFixture& world)>& prepare = {})
        : world(prepare)
        , view({world.controller(), world.desktop, world.clock, {}}, world.dialogs) {}

    struct PreparedWorld : ControllerFixture {
        explicit PreparedWorld(const std::function<void(ControllerFixture& world)>& prepare) {
            if (prepare) {
                prepare(*this);
            }
        }
    };
    PreparedWorld world;
    SettingsView view;

    void open() {
        view.resize(560, 640);
        view.show();
        QVERIFY(QTest::qWaitForWindowActive(&view));
        world.settle();
    }
    KumaController& kuma() { return world.controller(); }
    void click(const QString& text) {
        QAbstractButton* const found = button(&view, text);
        QVERIFY(found != nullptr);
        QTest::mouseClick(found, Qt::LeftButton);
        world.settle();
    }
    QLineEdit* field(const QString& name) const {
        for (QLineEdit* candidate : view.findChildren<QLineEdit*>()) {
            if (candidate->accessibleName() == name) {
                return candidate;
            }
        }
        return nullptr;
    }
    QLineEdit* port() const { return field(u"Port"_s); }
    QLineEdit* slug() const { return field(u"Status page slug"_s); }
    QLineEdit* dockerOverride() const { return field(u"Path to the docker command line tool"_s); }
    /// Replaces the text in the field by typing another.
    void type(QLineEdit* field, const QString& text) {
        field->setFocus();
        field->selectAll();
        QTest::keyClick(field, Qt::Key_Delete);
        QTest::keyClicks(field, text);
        world.settle();
    }
    bool showsPortHint() const {
        for (const QLabel* label : view.findChildren<QLabel*>()) {
            if (label->isVisible() && label->text().startsWith(u"Enter a port from "_s)) {
                return port()->accessibleDescription() == label->text();
            }
        }
        return false;
    }
    Switch* switchWith(const QString& text) const { return visibleWith<Switch>(&view, text); }
};

} // namespace orvanel::test
