#pragma once

#include "backup/FileSystem.h"

#include <QString>

#include <optional>
#include <string>
#include <vector>

namespace orvanel {

using namespace Qt::StringLiterals;

/// A hidden folder of ours beside something that is to be replaced. What replaces it is made in there, and so on the
/// same file system. The folder is named after its `prefix` and a random UUID, and only its owner can look into it. It
/// is locked as long as the process that made it lives, so that another copy of the program can tell it from a leftover
/// of a crash.
///
/// It is removed, with everything in it, by remove() or at the latest by the destructor. All functions block; any
/// thread.
class WorkFolder {
public:
    static inline const QString hidden = u".orvanel-"_s;
    /// In the temporary folder.
    static inline const QString unpacking = u"orv-restore-"_s;
    static inline const QString checking = u"orv-check-"_s;

    /// Removes what crashed runs left in `parent` under that prefix. Anything that such a run had put into `replaced()`
    /// of a hidden folder and not yet replaced goes back to its place. The folder of a run that was restoring stays
    /// until recoverData() has dealt with it.
    static void removeLeftovers(const QString& parent, const QString& prefix = hidden);

    /// Makes the folder in `parent`, after removeLeftovers(). Throws a file error.
    explicit WorkFolder(const QString& parent, const QString& prefix = hidden);
    ~WorkFolder();
    WorkFolder(const WorkFolder&) = delete;
    WorkFolder& operator=(const WorkFolder&) = delete;

    void remove();
    /// Leaves the folder as a crash would: the next run at this place gives back what it holds, then removes it.
    void keep() { m_lock.reset(); }

    /// Whether its disk supports links. A FAT or exFAT disk, as most USB sticks are, does not; nor does it keep
    /// permissions.
    bool holdsLinks() const;

    QString path() const { return m_path; }
    QString path(const QString& name) const { return m_path + u'/' + name; }
    FileId id() const { return m_id; }
    /// The folder's descriptor, open for as long as the folder exists.
    int descriptor() const { return m_lock.get(); }

    /// Where something from the folder's parent waits, under its own name, until its replacement is in place.
    QString replaced() const { return path(u"replaced"_s); }

private:
    QString m_path;
    FileDescriptor m_lock;
    FileId m_id;
};

/// Deletes a folder of this user. First renames it to a hidden name beside it, so that a run that is killed meanwhile
/// leaves nothing that looks whole; cleanUp() at the next start goes on with it. Throws a file error. Blocks; any
/// thread.
void discard(const QString& path);

/// Notes, in a folder that the next start looks into, that there is a work folder in `place`, where the next start
/// would not look. The note is removed with this object. If it cannot be written, the work folder waits for the next
/// run at its place.
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
/// places that PlaceNotes name. Treats work folders as WorkFolder::removeLeftovers() does. Blocks; any thread.
void cleanUp(const QString& folder);

/// A work folder that a crashed run left. It stays locked as long as this object lives, so that no other run touches
/// it.
struct Leftover {
    QString path;
    FileDescriptor folder;
};

/// This user's work folders in `parent` that are named after `prefix` and a UUID and whose makers no longer run.
/// Blocks; any thread.
std::vector<Leftover> leftoversIn(const QString& parent, const QString& prefix);

/// Writes a new file with a few words for a later run into an open work folder, and waits until it is on the disk. No
/// archive is ever unpacked to where this file is. Returns 0 or errno. Blocks; any thread.
int writeNote(int folder, const std::string& name, const std::string& text);

/// The text of the note of that name; none if there is nothing of that name, and empty if this user's writeNote() did
/// not make it. Throws a file error if the note cannot be read now; it may be readable later.
std::optional<std::string> readNote(int folder, const std::string& name);

} // namespace orvanel
