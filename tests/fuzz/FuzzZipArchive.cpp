// Any bytes as a zip archive, and any links as what came out of one.
#include "Fuzz.h"
#include "backup/UnpackedCheck.h"
#include "backup/ZipListing.h"
#include "process/AppError.h"
#include "support/TestHome.h"

#include <QDir>
#include <QFile>
#include <QtEndian>

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
    const auto listing = readZipListing(file);
    require(!listing || listing->entries * smallestEntry <= bytes.size(), "entries take room in an archive");
    require(!listing || (listing->entries >= 0 && listing->bytes >= 0), "nothing is less than nothing");
    require(beginsLikeZip(file) == bytes.startsWith("PK"), "archives are known by their first bytes");
}

template <class... Numbers>
QByteArray littleEndian(Numbers... numbers) {
    QByteArray bytes;
    const auto append = [&](auto number) {
        number = qToLittleEndian(number);
        bytes.append(reinterpret_cast<const char*>(&number), sizeof number);
    };
    (append(numbers), ...);
    return bytes;
}

/// The 46 bytes before the name: only the sizes count.
QByteArray entryHead(quint32 size, quint16 name, quint16 extra, quint16 comment) {
    return "PK\1\2" + QByteArray(20, '\0') + littleEndian(size, name, extra, comment) + QByteArray(12, '\0');
}

/// What stands at the end of an archive, told in the numbers of small archives or in those of large ones.
QByteArray endOf(const QByteArray& directory, quint64 offset, quint64 entries, bool isLarge) {
    const auto small = [isLarge](quint64 number) { return isLarge ? 0xffffffff : static_cast<quint32>(number); };
    const auto count = static_cast<quint16>(small(entries));
    QByteArray end;
    if (isLarge) {
        const auto size = static_cast<quint64>(directory.size());
        end = "PK\6\6" + QByteArray(20, '\0') + littleEndian(entries, entries, size, offset);
        end += "PK\6\7" + littleEndian(quint32(0), offset + size, quint32(1));
    }
    const auto size = static_cast<quint64>(directory.size());
    return end + "PK\5\6" + QByteArray(4, '\0') + littleEndian(count, count, small(size), small(offset), quint16(0));
}

/// An archive that holds an entry for each line, and tells the truth about it.
void checkTrueListing(const TestHome& home, QByteArrayView input) {
    constexpr quint32 seeExtra = 0xffffffff;
    const bool isLarge = takeByte(&input) % 2 == 1;
    ZipListing expected;
    QByteArray directory;
    const QByteArrayList lines = input.toByteArray().split('\n');
    for (const QByteArray& line : lines) {
        const auto size = static_cast<quint64>(line.size()) << (isLarge ? 33 : 3);
        const QByteArray extra = littleEndian(quint16(7), quint16(2), quint16(9), quint16(1), quint16(8), size);
        directory += entryHead(isLarge ? seeExtra : static_cast<quint32>(size), static_cast<quint16>(line.size()),
                               static_cast<quint16>(extra.size()), static_cast<quint16>(line.size() / 2));
        directory += line + extra + line.first(line.size() / 2);
        expected.entries += 1;
        expected.bytes += static_cast<qint64>(size);
    }
    const QByteArray front = "PK" + input.toByteArray();
    const QByteArray end =
        endOf(directory, static_cast<quint64>(front.size()), static_cast<quint64>(expected.entries), isLarge);
    const QString file = writeIn(home, front + directory + end);
    require(readZipListing(file) == expected, "a listing is read as it was told");
}

/// Links, and nothing but links, in folders that are made once: whatever they say, nothing is written through them.
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

/// The first byte says what follows. 'l': a link in each line, by a byte for its place and then its target. 'w': the
/// entries of a well-formed archive. Others: any archive.
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
