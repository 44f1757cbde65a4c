#include "HelperWorld.h"
#include "support/TestClass.h"

#include <QTest>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;

/// A caller who hands on what would harm the tools.
class TestCallersWorld : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void isLeftBehind() {
        HelperWorld world;
        const QByteArray folder = world.path(u"/run"_s).toUtf8();
        world.inCaller = [folder] {
            constexpr int openFile = 30;
            ::umask(0777);
            for (const auto resource : {RLIMIT_CPU, RLIMIT_FSIZE, RLIMIT_NOFILE}) {
                rlimit limit{};
                ::getrlimit(resource, &limit);
                limit.rlim_cur = 50;
                ::setrlimit(resource, &limit);
            }
            ::dup2(STDIN_FILENO, openFile);
            if (::chdir(folder.constData()) != 0) {
                ::_exit(1);
            }
        };
        world.answer(u"gpasswd"_s, R"sh(
{
    echo "mask $(umask)"
    echo "time $(ulimit -t)"
    echo "size $(ulimit -f)"
    echo "files $(ulimit -n)"
    echo "folder $(pwd -P)"
    if [ -e /proc/self/fd/30 ]; then echo "an open file"; fi
    } >"$root/world"
)sh");
        QCOMPARE(world.run({u"join"_s}), SetupStatus::done);
        QCOMPARE(world.read(u"/world"_s),
                 QByteArray("mask 0022\ntime unlimited\nsize unlimited\nfiles 1024\nfolder /\n"));
    }
};

ORVANEL_TEST(TestCallersWorld)
#include "TestCallersWorld.moc"
