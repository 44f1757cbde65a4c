#include "UpdateSteps.h"
#include "support/TestClass.h"

#include <QDir>

#include <stdexcept>

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;
using namespace std::chrono_literals;

namespace {

/// From now on nothing can be stored, because there is a folder where the file belongs.
void lockSettings(const ControllerFixture& world) {
    QFile::remove(world.settingsFile);
    QVERIFY(QDir().mkpath(world.settingsFile));
}

QString unstored(const ControllerFixture& world) {
    return u"The old version's tag \"2\" could not be stored: %1 could not be written."_s.arg(world.settingsFile);
}

} // namespace

/// Which version stays pinned and stored when an update fails.
class TestUpdateTag : public QObject {
    Q_OBJECT

private Q_SLOTS:
    /// The first program ends as if it were killed during the download.
    void tagThatWasNotDownloadedIsTakenBackAtTheNextStart() {
        ControllerFixture world;
        prepareUpdate(world);
        world.hang("compose pull");
        confirmUpdate(world);
        world.settle();
        QVERIFY(world.controller().state().pulling);
        QFile settings(world.settingsFile);
        QVERIFY(settings.open(QIODevice::ReadOnly));
        const QByteArray left = settings.readAll();
        settings.close();
        QVERIFY(left.contains("imageTag=2."));

        ControllerFixture later;
        later.home.write(u".config/Orvanel/Orvanel.conf"_s, left);
        QCOMPARE(later.controller().state().imageTag, u"2"_s);
        later.controller().setImageTag(u"2.1.0"_s);
        QCOMPARE(later.restartProgram().state().imageTag, u"2.1.0"_s);
    }

    void downloadedTagStays() {
        ControllerFixture world;
        prepareUpdate(world);
        confirmUpdate(world);
        QVERIFY(world.operationEnds());
        const QString tag = world.controller().state().imageTag;
        QVERIFY(tag != u"2"_s);
        QCOMPARE(world.restartProgram().state().imageTag, tag);
    }

    void newTagThatCannotBeStoredEndsTheUpdate() {
        ControllerFixture world;
        prepareUpdate(world);
        const QString composeFile = world.controller().composeURL();
        world.home.write(u".local/share/Orvanel/docker-compose.yml"_s, "as it was\n");
        lockSettings(world);
        confirmUpdate(world);
        QVERIFY(world.operationEnds());
        QCOMPARE(world.controller().state().error, (OpError{u"The settings could not be saved."_s,
                                                            u"%1 could not be written."_s.arg(world.settingsFile)}));
        QCOMPARE(world.controller().state().imageTag, oldTag);
        QCOMPARE(textOf(composeFile), u"as it was\n"_s);
        QCOMPARE(world.takeCommands(), names({"inspect"}));
        QCOMPARE(world.docker().container->image, std::string("louislam/uptime-kuma:2"));

        // The new tag must not be stored together with the next setting either.
        QDir().rmdir(world.settingsFile);
        world.controller().setSlug(u"home"_s);
        QCOMPARE(storedTag(world), oldTag);
    }

    void oldTagThatCannotBeStoredAgainIsTold() {
        ControllerFixture world;
        prepareUpdate(world);
        world.answer("compose pull", 1, u"no"_s, -1, 5s);
        confirmUpdate(world);
        QCOMPARE(storedTag(world), newTag);
        lockSettings(world);
        QVERIFY(world.operationEnds());
        QCOMPARE(world.controller().state().error,
                 (OpError{u"Docker reported an error."_s, u"no\n\n"_s + unstored(world)}));
        verifyPinned(world, oldTag);
    }

    void oldTagThatCannotBeStoredAfterACancelIsTold() {
        ControllerFixture world;
        world.docker().compose = false;
        prepareUpdate(world);
        world.hang("pull");
        confirmUpdate(world);
        lockSettings(world);
        world.controller().cancelOperation();
        QVERIFY(world.operationEnds());
        QCOMPARE(world.controller().state().error, (OpError{u"Cancelled."_s, unstored(world)}));
        verifyPinned(world, oldTag);
    }

    void oldTagThatCannotBeStoredAfterTheComposeFileIsTold() {
        ControllerFixture world;
        prepareUpdate(world);
        const KumaController& kuma = world.controller();
        // A folder in the place of the file cannot be replaced.
        QFile::remove(kuma.composeURL());
        QDir().mkpath(kuma.composeURL() + u"/x"_s);
        QObject::connect(&kuma, &KumaController::changed, &kuma, [&] {
            if (storedTag(world) == newTag) {
                lockSettings(world);
            }
        });
        confirmUpdate(world);
        QVERIFY(world.operationEnds());
        QCOMPARE(kuma.state().imageTag, oldTag);
        QVERIFY2(kuma.state().error->details.endsWith(u"\n\n"_s + unstored(world)),
                 qPrintable(kuma.state().error->details));
    }

    void errorOfTheProgramDuringTheDownloadTakesTheTagBack() {
        ControllerFixture world;
        prepareUpdate(world);
        const RunCommand usual = world.runner;
        world.runner = [usual](QString path, QStringList arguments, std::chrono::duration<double> limit,
                               std::shared_ptr<ProcessHandle> handle, DockerCLI::OutputCallback onOutput) {
            if (arguments.last() == u"pull") {
                throw std::runtime_error("out of luck");
            }
            return usual(std::move(path), std::move(arguments), limit, std::move(handle), std::move(onOutput));
        };
        confirmUpdate(world);
        QVERIFY(world.everythingEnds());
        QCOMPARE(world.controller().state().error->details, u"out of luck"_s);
        verifyPinned(world, oldTag);
        QCOMPARE(storedTag(world), oldTag);
    }
};

ORVANEL_TEST(TestUpdateTag)
#include "TestUpdateTag.moc"
