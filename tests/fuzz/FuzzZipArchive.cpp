// Feeds any bytes to the reader of zip archives, and any links to the check of what was unpacked.
#include "../backup/ZipWriter.h"
#include "Fuzz.h"
#include "backup/UnpackedCheck.h"
#include "backup/ZipArchive.h"
#include "process/AppError.h"
#include "support/TestHome.h"

#include <QDir>
#include <QFile>

#include <algorithm>
#include <array>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace orvanel::test {
namespace {

QString writeIn(const TestHome& home, const QByteArray& bytes) {
    return home.write(u"archive.zip"_s, bytes);
}

void checkListing(const TestHome& home, QByteArrayView bytes) {
    constexpr qint64 smallestEntry = 46;
    const QString file = writeIn(home, bytes.toByteArray());
    const auto listing = ZipArchive::list(file);
    require(!listing || listing->entries * smallestEntry <= bytes.size(), "entries take room in an archive");
    require(!listing || (listing->entries >= 0 && listing->bytes >= 0), "no count is negative");
}

/// An archive with an entry for each line, and a true list of them; or with claimed sizes that no small archive can
/// have.
void checkTrueListing(const TestHome& home, QByteArrayView input) {
    const bool isLarge = takeByte(&input) % 2 == 1;
    ZipListing expected;
    QList<ZipEntry> entries;
    const QByteArrayList lines = input.toByteArray().split('\n');
    for (const QByteArray& line : lines) {
        ZipEntry entry{.name = "data/" + QByteArray::number(entries.size()), .content = line};
        if (isLarge) {
            entry.saidSize = static_cast<quint64>(line.size()) << 33;
        }
        expected.bytes += static_cast<qint64>(entry.saidSize.value_or(static_cast<quint64>(line.size())));
        ++expected.entries;
        entries << entry;
    }
    const QString file = writeIn(home, zipOf(entries));
    require(ZipArchive::list(file) == expected, "a listing is read as it was written");
}

/// Holds links, in folders that are made once. Nothing is ever written through the links, whatever they point to.
class Unpacked {
public:
    explicit Unpacked(QString folder)
        : m_folder(std::move(folder)) {
        QDir().mkpath(m_folder + u"/a/b/c"_s);
    }
    ~Unpacked() {
        for (const QByteArray& link : m_links) {
            ::unlink(link.constData());
        }
    }
    Unpacked(const Unpacked&) = delete;
    Unpacked& operator=(const Unpacked&) = delete;

    void addLink(int place, const QByteArray& target) {
        constexpr std::array folders{"", "/a", "/a/b", "/a/b/c"};
        const QByteArray path = QFile::encodeName(m_folder) + folders.at(static_cast<std::size_t>(place % 4)) + "/l" +
                                QByteArray::number(place / 4 % 8);
        if (::symlink(target.constData(), path.constData()) == 0) {
            m_links << path;
        }
    }

    bool isHarmless() const {
        try {
            requireHarmless(m_folder);
            return true;
        } catch (const AppError&) {
            return false;
        }
    }

    /// Asks the system where the links lead. Their targets need not exist.
    bool staysInside() const {
        return std::all_of(m_links.begin(), m_links.end(), [&](const QByteArray& link) {
            const QString end = QFileInfo(QFile::decodeName(link)).canonicalFilePath();
            return end.isEmpty() || end == m_folder || end.startsWith(m_folder + u'/');
        });
    }

private:
    const QString m_folder;
    QByteArrayList m_links;
};

void checkLinks(const QString& folder, QByteArrayView input) {
    Unpacked unpacked(folder);
    const QByteArrayList lines = input.toByteArray().split('\n');
    for (const QByteArray& line : lines) {
        QByteArrayView target = line;
        const int place = takeByte(&target);
        unpacked.addLink(place, target.toByteArray());
    }
    require(!unpacked.isHarmless() || unpacked.staysInside(), "links that are found harmless stay inside");
}

} // namespace

/// The first byte says what follows. 'l': one link per line, as a byte for its place and then its target. 'w': the
/// entries of a well-formed archive. Anything else: any archive.
void fuzz(QByteArrayView input) {
    static const TestHome home;
    const int kind = takeByte(&input);
    if (kind == 'l') {
        checkLinks(QFileInfo(home.path()).canonicalFilePath() + u"/outside/unpacked"_s, input);
    } else if (kind == 'w') {
        checkTrueListing(home, input);
    } else {
        checkListing(home, input);
    }
}

} // namespace orvanel::test
