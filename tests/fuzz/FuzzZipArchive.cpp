// Any bytes as a zip archive, and any links as what came out of one.
#include "Fuzz.h"
#include "backup/UnpackedCheck.h"
#include "backup/ZipListing.h"
#include "process/AppError.h"
#include "support/TestHome.h"

#include <QDir>
#include <QFile>

#include <algorithm>
#include <array>
#include <unistd.h>

namespace orvanel::test {
namespace {

void checkListing(const QString& file, QByteArrayView bytes) {
    constexpr qint64 smallestEntry = 46;
    const auto listing = readZipListing(file);
    require(!listing || listing->entries * smallestEntry <= bytes.size(), "entries take room in an archive");
    require(!listing || (listing->entries >= 0 && listing->bytes >= 0), "nothing is less than nothing");
    require(beginsLikeZip(file) == bytes.startsWith("PK"), "archives are known by their first bytes");
}

/// Links, and nothing but links, in folders that are made once: whatever they say, nothing is written through them.
class Unpacked {
public:
    explicit Unpacked(QString folder)
        : m_folder(std::move(folder)) {
        QDir().mkpath(m_folder + QStringLiteral("/a/b/c"));
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

    /// By the system's own word; what a link leads to need not exist.
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
    require(!unpacked.isHarmless() || unpacked.staysInside(), "what is found harmless leads nowhere else");
}

} // namespace

/// The first byte says what follows. 'l': a link in each line, by a byte for its place and then its target. Others: an
/// archive.
void fuzz(QByteArrayView input) {
    static const TestHome home;
    if (takeByte(&input) == 'l') {
        checkLinks(QFileInfo(home.path()).canonicalFilePath() + QStringLiteral("/outside/unpacked"), input);
        return;
    }
    checkListing(home.write(QStringLiteral("archive.zip"), input.toByteArray()), input);
}

} // namespace orvanel::test
