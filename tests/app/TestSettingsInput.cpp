#include "ShownSettings.h"
#include "support/TestClass.h"

#include <QAccessible>

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;

namespace {

const auto notSaved = u"This could not be saved. It will be lost when Orvanel quits."_s;

/// Settings that cannot be written: their folder is a file.
struct UnwritableSettings : ShownSettings {
    UnwritableSettings()
        : ShownSettings([](ControllerFixture& world) {
            world.home.write(u"file"_s, "");
            world.settingsFile = world.home.path(u"file/Orvanel.conf"_s);
        }) {}
};

/// Sets the text as AT-SPI's SetTextContents does.
void setTextContents(QLineEdit* field, const QString& text) {
    QAccessibleInterface* const face = accessible(field);
    face->editableTextInterface()->replaceText(0, static_cast<int>(field->text().size()), text);
}

} // namespace

/// Text that comes without key presses, and settings that cannot be written.
class TestSettingsInput : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void textFromAssistiveTechnologyIsStored() {
        ShownSettings settings;
        settings.open();
        setTextContents(settings.port(), u"3055"_s);
        setTextContents(settings.slug(), u"home"_s);
        setTextContents(settings.dockerOverride(), u"/opt/docker"_s);
        QCOMPARE(settings.kuma().state().port, 3055);
        QCOMPARE(settings.kuma().state().slug, u"home"_s);
        QCOMPARE(settings.kuma().state().dockerOverride, u"/opt/docker"_s);
        settings.world.settle();
        QCOMPARE(settings.port()->text(), u"3055"_s);
    }

    void keysAfterItChangeNothing() {
        ShownSettings settings;
        settings.open();
        settings.port()->setFocus();
        setTextContents(settings.port(), u"3055"_s);
        QTest::keyClick(settings.port(), Qt::Key_Return);
        QTest::keyClick(settings.port(), Qt::Key_Tab);
        settings.world.settle();
        QCOMPARE(settings.kuma().state().port, 3055);
        QCOMPARE(settings.port()->text(), u"3055"_s);
        // The port is accepted: wrong input now falls back to it.
        settings.type(settings.port(), u"x"_s);
        QCOMPARE(settings.kuma().state().port, 3055);
    }

    void aPortFromAssistiveTechnologyIsAgreedAtOnce() {
        ShownSettings settings;
        settings.open();
        settings.slug()->setFocus();
        setTextContents(settings.port(), u"3055"_s);
        setTextContents(settings.port(), u"99"_s);
        QCOMPARE(settings.kuma().state().port, 3055);
        QVERIFY(settings.showsPortHint());
    }

    void whatTheSettingsShowIsNotStoredAgain() {
        ShownSettings settings;
        settings.open();
        settings.kuma().setSlug(u"elsewhere"_s);
        settings.world.settle();
        QCOMPARE(settings.slug()->text(), u"elsewhere"_s);
        QVERIFY(!shows(&settings.view, notSaved));
    }

    void whatIsNotSavedSaysSoBesideItsField_data() {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("text");
        QTest::newRow("port") << u"Port"_s << u"3055"_s;
        QTest::newRow("slug") << u"Status page slug"_s << u"home"_s;
        QTest::newRow("docker") << u"Path to the docker command line tool"_s << u"/opt/docker"_s;
    }
    void whatIsNotSavedSaysSoBesideItsField() {
        QFETCH(const QString, name);
        QFETCH(const QString, text);
        UnwritableSettings settings;
        settings.open();
        QLineEdit* const field = settings.field(name);
        settings.type(field, text);
        auto* const told = visibleWith<QLabel>(&settings.view, notSaved);
        QVERIFY(told != nullptr);
        const int distance =
            told->mapTo(&settings.view, QPoint()).y() - field->mapTo(&settings.view, QPoint(0, field->height())).y();
        QVERIFY2(distance >= 0 && distance < 30, qPrintable(QString::number(distance)));
        QCOMPARE(field->accessibleDescription(), notSaved);
        QTest::keyClick(field, Qt::Key_Return);
        QVERIFY(shows(&settings.view, notSaved));
    }

    void aChosenToolThatIsNotSavedSaysSo() {
        UnwritableSettings settings;
        settings.open();
        settings.click(u"Choose…"_s);
        settings.world.dialogs.pathQuestions[0].answer.complete(u"/opt/docker"_s);
        settings.world.settle();
        QCOMPARE(settings.dockerOverride()->accessibleDescription(), notSaved);
    }

    void switchesThatAreNotSavedSaySo() {
        UnwritableSettings settings;
        settings.world.loginItem.failure = u"why"_s;
        settings.open();
        Switch* const stop = settings.switchWith(u"Stop the container when I quit"_s);
        stop->click();
        QCOMPARE(stop->accessibleDescription(), notSaved);
        QVERIFY(shows(&settings.view, notSaved));
        Switch* const daily = settings.switchWith(u"Back up every day"_s);
        daily->click();
        QCOMPARE(daily->accessibleDescription(), notSaved);
        Switch* const launch = settings.switchWith(u"Launch at login"_s);
        launch->click();
        settings.world.settle();
        QVERIFY(!launch->isChecked());
        QVERIFY(shows(&settings.view, u"Could not change launch at login."_s));
    }

    void whatIsSavedAgainSaysNothing() {
        UnwritableSettings settings;
        settings.open();
        settings.type(settings.slug(), u"home"_s);
        QVERIFY(shows(&settings.view, notSaved));
        QVERIFY(QFile::remove(settings.world.home.path(u"file"_s)));
        settings.type(settings.slug(), u"other"_s);
        QVERIFY(!shows(&settings.view, notSaved));
        QCOMPARE(settings.slug()->accessibleDescription(), QString());
    }
};

ORVANEL_TEST(TestSettingsInput)
#include "TestSettingsInput.moc"
