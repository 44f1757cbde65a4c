#include "Find.h"
#include "app/OpenPathDialog.h"
#include "app/WidgetDialogs.h"
#include "support/Await.h"
#include "support/TestClass.h"
#include "support/TestHome.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QTest>
#include <QTimer>

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;

namespace {

/// An answer that may still be missing.
template <class T>
struct Answer {
    bool isGiven = false;
    T value{};
};

template <class T>
QCoro::Task<void> note(QCoro::Task<T> task, std::shared_ptr<Answer<T>> answer) {
    const T value = co_await task;
    answer->value = value;
    answer->isGiven = true;
}

template <class T>
std::shared_ptr<Answer<T>> answerOf(QCoro::Task<T> task) {
    auto answer = std::make_shared<Answer<T>>();
    note(std::move(task), answer);
    return answer;
}

Alert question() {
    return {.style = Alert::Style::Critical,
            .message = u"Remove <b>everything</b>?"_s,
            .informativeText = u"In <i>/home/x</i> & more"_s,
            .confirmButton = u"Delete & Go"_s,
            .cancelButton = u"Cancel"_s};
}

template <class Dialog>
Dialog* shown() {
    return qobject_cast<Dialog*>(QApplication::activeModalWidget());
}

} // namespace

class TestWidgetDialogs : public QObject {
    Q_OBJECT

    QWidget* m_window = nullptr;

    WidgetDialogs dialogs() {
        return WidgetDialogs([this] { return m_window; });
    }

private Q_SLOTS:
    void init() {
        m_window = new QWidget;
        m_window->resize(600, 500);
        m_window->show();
        QVERIFY(QTest::qWaitForWindowActive(m_window));
    }
    void cleanup() {
        delete m_window;
        m_window = nullptr;
        drainEvents();
    }

    void asksInAWindowOverTheMainWindow() {
        WidgetDialogs asked = dialogs();
        const auto answer = answerOf(asked.confirm(question()));
        auto* box = shown<QMessageBox>();
        QVERIFY(box != nullptr);
        QCOMPARE(box->parentWidget(), m_window);
        QCOMPARE(box->windowModality(), Qt::WindowModal);
        QCOMPARE(box->icon(), QMessageBox::Critical);
        QVERIFY(!answer->isGiven);
        box->close();
        QVERIFY(waitUntil([&] { return answer->isGiven; }));
        QVERIFY(!answer->value);
    }

    void textIsShownAsItStands() {
        WidgetDialogs asked = dialogs();
        const auto answer = answerOf(asked.confirm(question()));
        auto* box = shown<QMessageBox>();
        QStringList texts;
        for (const QLabel* label : box->findChildren<QLabel*>()) {
            if (!label->text().isEmpty()) {
                QCOMPARE(label->textFormat(), Qt::PlainText);
                texts << label->text();
            }
        }
        QVERIFY(texts.contains(question().message));
        QVERIFY(texts.contains(question().informativeText));
        QCOMPARE(box->defaultButton()->text(), u"Delete && Go"_s);
        box->close();
        QVERIFY(waitUntil([&] { return answer->isGiven; }));
    }

    void returnConfirms() {
        WidgetDialogs asked = dialogs();
        const auto answer = answerOf(asked.confirm(question()));
        QTest::keyClick(shown<QMessageBox>(), Qt::Key_Return);
        QVERIFY(waitUntil([&] { return answer->isGiven; }));
        QVERIFY(answer->value);
        drainEvents();
        QVERIFY(m_window->findChild<QMessageBox*>() == nullptr);
    }

    /// The key that asked may still be down.
    void aKeyThatIsHeldDownConfirmsNothing_data() {
        QTest::addColumn<Qt::Key>("key");
        QTest::newRow("Return") << Qt::Key_Return;
        QTest::newRow("Enter") << Qt::Key_Enter;
        QTest::newRow("space") << Qt::Key_Space;
    }
    void aKeyThatIsHeldDownConfirmsNothing() {
        QFETCH(const Qt::Key, key);
        WidgetDialogs asked = dialogs();
        const auto answer = answerOf(asked.confirm(question()));
        QVERIFY(waitUntil([] { return shown<QMessageBox>() != nullptr && shown<QMessageBox>()->isActiveWindow(); }));
        for (int i = 0; i < 3; ++i) {
            QKeyEvent repeat(QEvent::KeyPress, key, Qt::NoModifier, u"\r"_s, true);
            QCoreApplication::sendEvent(shown<QMessageBox>()->focusWidget(), &repeat);
            drainEvents();
            QVERIFY(shown<QMessageBox>() != nullptr && !answer->isGiven);
        }
        QTest::keyClick(shown<QMessageBox>()->focusWidget(), key);
        QVERIFY(waitUntil([&] { return answer->isGiven; }));
        QVERIFY(answer->value);
    }

    void escapeCancels() {
        WidgetDialogs asked = dialogs();
        const auto answer = answerOf(asked.confirm(question()));
        QTest::keyClick(shown<QMessageBox>(), Qt::Key_Escape);
        QVERIFY(waitUntil([&] { return answer->isGiven; }));
        QVERIFY(!answer->value);
    }

    void theEndOfTheWindowCancels() {
        WidgetDialogs asked = dialogs();
        const auto answer = answerOf(asked.confirm(question()));
        delete m_window;
        m_window = nullptr;
        QVERIFY(waitUntil([&] { return answer->isGiven; }));
        QVERIFY(!answer->value);
    }

    void withoutAWindowNothingIsAsked() {
        WidgetDialogs asked([] { return nullptr; });
        QVERIFY(!await(asked.confirm(question())));
        QVERIFY(!await(asked.chooseSavePath({})));
        QVERIFY(!await(asked.chooseOpenPath({})));
    }

    void savePathIsChosen() {
        const TestHome home;
        WidgetDialogs asked = dialogs();
        const SavePanel panel{.title = u"Save"_s, .message = u"Where to?"_s, .proposedName = u"Backup"_s};
        const auto answer = answerOf(asked.chooseSavePath(panel));
        auto* dialog = shown<QFileDialog>();
        QVERIFY(dialog != nullptr);
        QCOMPARE(dialog->acceptMode(), QFileDialog::AcceptSave);
        QCOMPARE(dialog->windowTitle(), u"Save"_s);
        auto* const line = visibleWith<QLabel>(dialog, u"Where to?"_s);
        QVERIFY(line != nullptr);
        // The line is at the top, and covers nothing.
        QCOMPARE(line->y(), 0);
        for (const QWidget* widget : dialog->findChildren<QWidget*>(Qt::FindDirectChildrenOnly)) {
            const bool isBelow = widget == line || widget->isHidden() || widget->y() >= line->height();
            QVERIFY2(isBelow, qPrintable(widget->objectName()));
        }
        QCOMPARE(dialog->parentWidget(), m_window);
        QVERIFY(dialog->selectedFiles().value(0).endsWith(u"/Backup"_s));
        dialog->selectFile(home.path(u"Other"_s));
        QTest::keyClick(dialog, Qt::Key_Return);
        QVERIFY(waitUntil([&] { return answer->isGiven; }));
        QCOMPARE(answer->value, home.path(u"Other"_s));
    }

    void nameIsProposedInTheHomeFolder() {
        WidgetDialogs asked = dialogs();
        const SavePanel panel{.title = {}, .message = {}, .proposedName = u"Backup.zip"_s};
        const auto answer = answerOf(asked.chooseSavePath(panel));
        auto* dialog = shown<QFileDialog>();
        QCOMPARE(dialog->directory().path(), QDir::homePath());
        QCOMPARE(dialog->selectedFiles(), QStringList(QDir::home().filePath(u"Backup.zip"_s)));
        dialog->reject();
        QVERIFY(waitUntil([&] { return answer->isGiven; }));
    }

    /// The dialog's own question would be asked in an event loop inside it.
    void takenNameIsAskedAbout() {
        const TestHome home;
        home.write(u"Backup & co.zip"_s, "old");
        const QString taken = home.path(u"Backup & co.zip"_s);
        WidgetDialogs asked = dialogs();
        const auto answer = answerOf(asked.chooseSavePath({}));
        shown<QFileDialog>()->setDirectory(home.path());
        shown<QFileDialog>()->selectFile(taken);
        QTest::keyClick(shown<QFileDialog>(), Qt::Key_Return);
        QVERIFY(waitUntil([&] { return shown<QMessageBox>() != nullptr; }));
        QCOMPARE(shown<QMessageBox>()->text(), u"\"Backup & co.zip\" already exists. Do you want to replace "
                                               "it?"_s);
        QCOMPARE(shown<QMessageBox>()->parentWidget(), m_window);
        QVERIFY(!answer->isGiven);

        // No: the panel comes back with that name.
        QTest::keyClick(shown<QMessageBox>(), Qt::Key_Escape);
        QVERIFY(waitUntil([&] { return shown<QFileDialog>() != nullptr; }));
        QCOMPARE(shown<QFileDialog>()->selectedFiles(), QStringList(taken));
        QTest::keyClick(shown<QFileDialog>(), Qt::Key_Return);
        QVERIFY(waitUntil([&] { return shown<QMessageBox>() != nullptr; }));

        // Return loses nothing; only the button itself does.
        QTest::keyClick(shown<QMessageBox>(), Qt::Key_Return);
        QVERIFY(waitUntil([&] { return shown<QFileDialog>() != nullptr; }));
        QVERIFY(!answer->isGiven);
        QTest::keyClick(shown<QFileDialog>(), Qt::Key_Return);
        QVERIFY(waitUntil([&] { return shown<QMessageBox>() != nullptr; }));
        QAbstractButton* const replace = shown<QMessageBox>()->buttons().value(0);
        QCOMPARE(replace->text(), u"Replace"_s);
        QTest::mouseClick(replace, Qt::LeftButton);
        QVERIFY(waitUntil([&] { return answer->isGiven; }));
        QCOMPARE(answer->value, taken);
    }

    void savingCanBeCancelled() {
        WidgetDialogs asked = dialogs();
        const auto answer = answerOf(asked.chooseSavePath({}));
        QTest::keyClick(shown<QFileDialog>(), Qt::Key_Escape);
        QVERIFY(waitUntil([&] { return answer->isGiven; }));
        QVERIFY(!answer->value);
    }

    void filesOrFoldersOnly() {
        WidgetDialogs asked = dialogs();
        OpenPanel panel;
        panel.filesAllowed = true;
        panel.title = u"Choose it"_s;
        panel.message = panel.title;
        const auto file = answerOf(asked.chooseOpenPath(panel));
        QCOMPARE(shown<QFileDialog>()->fileMode(), QFileDialog::ExistingFile);
        QCOMPARE(shown<QFileDialog>()->windowTitle(), u"Choose it"_s);
        QVERIFY(!shows(shown<QFileDialog>(), u"Choose it"_s));
        shown<QFileDialog>()->reject();
        QVERIFY(waitUntil([&] { return file->isGiven; }));

        panel.filesAllowed = false;
        panel.foldersAllowed = true;
        const auto folder = answerOf(asked.chooseOpenPath(panel));
        QCOMPARE(shown<QFileDialog>()->fileMode(), QFileDialog::Directory);
        shown<QFileDialog>()->reject();
        QVERIFY(waitUntil([&] { return folder->isGiven; }));
        QVERIFY(!folder->value);
    }

    void eitherFileOrFolder_data() {
        QTest::addColumn<QString>("name");
        QTest::newRow("file") << u"backup.zip"_s;
        QTest::newRow("folder") << u"backup"_s;
    }
    void eitherFileOrFolder() {
        QFETCH(const QString, name);
        const TestHome home;
        home.write(u"backup.zip"_s, "zip");
        home.write(u"backup/kuma.db"_s, "db");
        WidgetDialogs asked = dialogs();
        OpenPanel panel;
        panel.foldersAllowed = true;
        const auto answer = answerOf(asked.chooseOpenPath(panel));
        auto* dialog = shown<OpenPathDialog>();
        QVERIFY(dialog != nullptr);
        dialog->setDirectory(home.path());
        dialog->selectFile(home.path(name));
        QTest::keyClick(dialog, Qt::Key_Return);
        QVERIFY(waitUntil([&] { return answer->isGiven; }));
        QCOMPARE(answer->value, home.path(name));
    }

    void nameThatDoesNotExistIsNotTaken_data() {
        QTest::addColumn<bool>("files");
        QTest::addColumn<bool>("folders");
        QTest::newRow("files") << true << false;
        QTest::newRow("folders") << false << true;
        QTest::newRow("either") << true << true;
    }
    void nameThatDoesNotExistIsNotTaken() {
        QFETCH(const bool, files);
        QFETCH(const bool, folders);
        const TestHome home;
        WidgetDialogs asked = dialogs();
        OpenPanel panel;
        panel.filesAllowed = files;
        panel.foldersAllowed = folders;
        const auto answer = answerOf(asked.chooseOpenPath(panel));
        auto* dialog = shown<OpenPathDialog>();
        dialog->setDirectory(home.path());
        auto* name = dialog->findChild<QLineEdit*>(u"fileNameEdit"_s);
        QVERIFY(name != nullptr);
        name->setText(u"nothing of that name"_s);
        // The call returns at once and asks nothing.
        dialog->accept();
        drainEvents();
        QCOMPARE(QApplication::activeModalWidget(), dialog);
        QVERIFY(!answer->isGiven);
        dialog->reject();
        QVERIFY(waitUntil([&] { return answer->isGiven; }));
        QVERIFY(!answer->value);
    }

    void keysDeleteNoFile_data() {
        QTest::addColumn<bool>("saves");
        QTest::newRow("open") << false;
        QTest::newRow("save") << true;
    }

    /// The dialog's own question would block the program until it is answered.
    void keysDeleteNoFile() {
        QFETCH(const bool, saves);
        const TestHome home;
        const QString file = home.write(u"backup.zip"_s, "zip");
        WidgetDialogs asked = dialogs();
        OpenPanel panel;
        panel.foldersAllowed = true;
        const auto answer = answerOf(saves ? asked.chooseSavePath({}) : asked.chooseOpenPath(panel));
        auto* dialog = shown<QFileDialog>();
        dialog->setDirectory(home.path());
        dialog->selectFile(file);
        auto* list = dialog->findChild<QAbstractItemView*>(u"treeView"_s);
        QVERIFY(list != nullptr);
        QVERIFY(waitUntil([&] { return list->model()->rowCount(list->rootIndex()) == 1; }));
        dialog->activateWindow();
        QVERIFY(waitUntil([&] { return QApplication::activeWindow() == dialog; }));
        list->setFocus();
        list->setCurrentIndex(list->model()->index(0, 0, list->rootIndex()));
        QTest::keyClick(list, Qt::Key_F2);
        QCOMPARE(list->findChildren<QLineEdit*>().size(), 0);
        bool isAsking = false;
        QTimer watch;
        watch.callOnTimeout(dialog, [&isAsking] {
            if (auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget())) {
                isAsking = true;
                box->reject();
            }
        });
        watch.start(10);
        QTest::keyClick(list, Qt::Key_Delete);
        QVERIFY(!isAsking);
        QVERIFY(QFile::exists(file));
        dialog->reject();
        QVERIFY(waitUntil([&] { return answer->isGiven; }));
    }
};

ORVANEL_TEST(TestWidgetDialogs)
#include "TestWidgetDialogs.moc"
