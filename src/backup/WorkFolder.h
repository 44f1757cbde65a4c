#pragma once

#include "backup/FileSystem.h"

#include <QString>

#include <optional>
#include <string>
#include <vector>

namespace orvanel {

using namespace Qt::StringLiterals;

/// A folder of ours beside something that is to be replaced, in which what replaces it is made: on the same file
/// system, and hidden. Named after its `prefix` and a random UUID; only its owner can look in. It is locked as long as
/// its maker lives, so that another copy of the program can tell it from what a crash left.
///
/// Removed, with all that is in it, by remove() or at the latest the destructor. All of it blocks; any thread.
class WorkFolder {
public:
    static inline const QString hidden = u".orvanel-"_s;
    /// In the temporary folder.
    static inline const QString unpacking = u"orv-restore-"_s;
    static inline const QString checking = u"orv-check-"_s;

    /// Removes what crashed runs left in `parent` under that prefix. What such a run had put into `replaced()` of a
    /// hidden one and not yet replaced goes back to its place; one that was restoring stays until recoverData() has
    /// seen it.
    static void removeLeftovers(const QString& parent, const QString& prefix = hidden);

    /// Makes the folder in `parent`, after removeLeftovers(). Throws what the platform says.
    explicit WorkFolder(const QString& parent, const QString& prefix = hidden);
    ~WorkFolder();
    WorkFolder(const WorkFolder&) = delete;
    WorkFolder& operator=(const WorkFolder&) = delete;

    void remove();
    /// Leaves the folder as what a crash leaves: the next run at this place gives back what it holds, then removes it.
    void keep() { m_lock.reset(); }

    /// Whether its disk supports links. A FAT or exFAT disk, as most USB sticks are, does not; nor does it keep
    /// permissions.
    bool holdsLinks() const;

    QString path() const { return m_path; }
    QString path(const QString& name) const { return m_path + u'/' + name; }
    FileId id() const { return m_id; }
    /// The folder, open for as long as it is there.
    int descriptor() const { return m_lock.get(); }

    /// Where something of the folder's parent waits, under its own name, until what replaces it is there.
    QString replaced() const { return path(u"replaced"_s); }

private:
    QString m_path;
    FileDescriptor m_lock;
    FileId m_id;
};

/// Deletes a folder of this user. Before that, it gets a hidden name of its own beside it, so that a run that is killed
/// meanwhile leaves nothing that looks whole; cleanUp() of the next start goes on with it. Throws what the platform
/// says. Blocks; any thread.
void discard(const QString& path);

/// Notes, in a folder that the next start looks into, that there is a work folder in `place`, which it could not know.
/// The note goes with this object. Where it cannot be written, the work folder waits for the next run at its place.
class PlaceNote {
public:
    PlaceNote(const QString& folder, const QString& place);
    ~PlaceNote();
    PlaceNote(const PlaceNote&) = delete;
    PlaceNote& operator=(const PlaceNote&) = delete;

private:
    QString m_file;
};

/// Removes what killed runs left in `folder`: work folders, what discard() was deleting, and the work folders in the
/// places of which PlaceNotes tell. Contract for work folders: WorkFolder::removeLeftovers(). Blocks; any thread.
void cleanUp(const QString& folder);

/// A work folder that a crashed run left. It is locked as long as this lives: no other run takes it for one.
struct Leftover {
    QString path;
    FileDescriptor folder;
};

/// This user's work folders in `parent` with names of `prefix` and a UUID whose makers no longer live. Blocks; any
/// thread.
std::vector<Leftover> leftoversIn(const QString& parent, const QString& prefix);

/// Writes a new file with a few words for a later run into an open work folder, and waits until it is on the disk. 0,
/// or errno. It lies where no archive is ever unpacked to. Blocks; any thread.
int writeNote(int folder, const std::string& name, const std::string& text);

/// The words of the note of that name; none when nothing of that name is there. Empty when it is none that this user's
/// writeNote() made. Throws what the platform says when it cannot be read: another time it may.
std::optional<std::string> readNote(int folder, const std::string& name);

} // namespace orvanel
