#include "backup/FormatsModule.h"

#include "process/AppError.h"
#include "support/TestClass.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;

/// The part of the program that is loaded only when a backup needs it.
class TestFormatsModule : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void moduleThatIsOfNoUseIsSaid_data() {
        QTest::addColumn<QByteArray>("module");
        QTest::addColumn<QString>("sentence");
        QTest::newRow("missing") << QByteArray("orvanel-nothing.so")
                                 << u"Orvanel is not installed completely: orvanel-nothing.so: cannot open"_s;
        QTest::newRow("of another version")
            << QByteArray("libc.so.6") << u"Orvanel was updated while it was running. Quit it and start it again."_s;
    }
    void moduleThatIsOfNoUseIsSaid() {
        QFETCH(QByteArray, module);
        QFETCH(QString, sentence);

        QString message;
        try {
            loadFormats(module.constData());
        } catch (const AppError& error) {
            message = error.message();
        }

        QVERIFY2(message.startsWith(sentence), qPrintable(message));
    }
};

ORVANEL_TEST(TestFormatsModule)

#include "TestFormatsModule.moc"
