#pragma once

#include <QString>
#include <QStringList>

/// The quoting of the Exec key of desktop entries (Desktop Entry standard, "The Exec key"), above the escapes
/// that every string value of such a file has.
namespace orvanel::execline {

/// One argument, quoted so that it comes out of arguments() as it is.
QString quoted(const QString& argument);

/// The arguments of an Exec value, without field codes such as %u. Lenient where people are.
QStringList arguments(const QString& exec);

} // namespace orvanel::execline
