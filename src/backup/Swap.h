#pragma once

#include <QString>

namespace orvanel {

class WorkFolder;

/// Makes everything written so far to the file system that holds `path` safe from a power cut. What replaces something
/// must be on the disk before the something is deleted. Throws what the platform says, also of earlier writes that
/// failed.
void syncFileSystem(const QString& path);

/// Renames `from` to `to`, where nothing may be yet, and makes that safe from a power cut. Both lie on one file system.
void moveTo(const QString& from, const QString& to);

/// The same, but false when no rename leads there: a quota or a layered file system may forbid it within one mount too.
bool moveIfPossible(const QString& from, const QString& to);

/// Puts `fresh`, which lies in `work` and is on the disk, in the place of `destination`, beside which `work` lies: in
/// one step where the file system can exchange two names, else by way of work.replaced(). What was there is in `work`
/// afterwards and goes with it. When it throws, `destination` is as it was; or, when not even that can be had, what was
/// there is in `work`, which is kept and named in the sentence.
void putInPlace(const QString& fresh, const QString& destination, WorkFolder& work);

} // namespace orvanel
