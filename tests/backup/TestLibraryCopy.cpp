#include "support/TestClass.h"
#include "support/TestHome.h"

#include <QFile>
#include <QTest>

#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;

namespace {

/// The folder "from" of a home, and what std::filesystem::copy makes of it.
class LibraryCopy {
public:
    LibraryCopy() { m_home.write(u"from/kuma.db"_s, "data"); }

    QString source(const QString& name) const { return m_home.path(u"from/"_s + name); }

    /// False when the library gives up.
    bool copy() const {
        std::error_code error;
        std::filesystem::copy(path(u"from"_s), path(u"to"_s),
                              std::filesystem::copy_options::recursive | std::filesystem::copy_options::copy_symlinks,
                              error);
        return !error;
    }

    struct stat copied(const QString& name) const { return statusOf(u"to/"_s + name); }
    struct stat original(const QString& name) const { return statusOf(u"from/"_s + name); }

private:
    std::filesystem::path path(const QString& name) const { return QFile::encodeName(m_home.path(name)).toStdString(); }

    struct stat statusOf(const QString& name) const {
        struct stat status {};
        if (::stat(path(name).c_str(), &status) != 0) {
            qFatal("%s is missing", qPrintable(name));
        }
        return status;
    }

    const TestHome m_home;
};

} // namespace

/// Why std::filesystem::copy does not copy the data. If a test here fails, the library can now do what copyTree() is
/// for, and should be considered again.
class TestLibraryCopy : public QObject {
    Q_OBJECT

private Q_SLOTS:
    /// copyTree() leaves it out: TestCopyTree, pipesSocketsAndDevicesAreLeftOut.
    void givesUpAtANamedPipe() {
        const LibraryCopy world;
        QVERIFY(world.copy());
        const LibraryCopy other;
        QCOMPARE(::mkfifo(QFile::encodeName(other.source(u"pipe"_s)).constData(), 0600), 0);
        QVERIFY(!other.copy());
    }

    /// copyTree() keeps them: TestCopyTree, holesStayHoles.
    void fillsHoles() {
        constexpr qint64 size = qint64{64} * 1024 * 1024;
        const LibraryCopy world;
        QCOMPARE(::truncate(QFile::encodeName(world.source(u"kuma.db"_s)).constData(), size), 0);
        if (world.original(u"kuma.db"_s).st_blocks * 512 > size / 2) {
            QSKIP("this file system has no holes");
        }
        QVERIFY(world.copy());
        QCOMPARE(world.copied(u"kuma.db"_s).st_size, size);
        if (world.copied(u"kuma.db"_s).st_blocks * 512 < size / 2) {
            QSKIP("this file system shares what is copied, or writes no zeros");
        }
        QVERIFY(world.copied(u"kuma.db"_s).st_blocks * 512 >= size);
    }

    /// copyTree() keeps both: TestCopyTree, hardLinksAttributesAndDatesComeAlong.
    void separatesHardLinksAndLosesDates() {
        const LibraryCopy world;
        const QByteArray file = QFile::encodeName(world.source(u"kuma.db"_s));
        QCOMPARE(::link(file.constData(), QFile::encodeName(world.source(u"link"_s)).constData()), 0);
        constexpr timespec longAgo{.tv_sec = 1'000'000'000, .tv_nsec = 0};
        const timespec times[] = {longAgo, longAgo};
        QCOMPARE(::utimensat(AT_FDCWD, file.constData(), times, 0), 0);
        QVERIFY(world.copy());
        QCOMPARE(world.original(u"kuma.db"_s).st_ino, world.original(u"link"_s).st_ino);
        QVERIFY(world.copied(u"kuma.db"_s).st_ino != world.copied(u"link"_s).st_ino);
        QCOMPARE(world.original(u"kuma.db"_s).st_mtim.tv_sec, longAgo.tv_sec);
        QVERIFY(world.copied(u"kuma.db"_s).st_mtim.tv_sec != longAgo.tv_sec);
    }
};

ORVANEL_TEST(TestLibraryCopy)
#include "TestLibraryCopy.moc"
