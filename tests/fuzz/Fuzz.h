#pragma once

#include <QByteArrayView>

namespace orvanel::test {

/// What each program here defines: reads the bytes as the program itself would, and checks with require() what must
/// hold for any bytes at all.
void fuzz(QByteArrayView input);

/// Ends the program, with `what` as the last words, when a rule is broken.
void require(bool holds, const char* what);

/// Cuts off the front of `input`, up to a line "----", or all of it. So that inputs of several parts can be read and
/// written by people.
QByteArrayView takePart(QByteArrayView* input);

/// Cuts off the first byte of `input`, as a number; 0 when there is none.
int takeByte(QByteArrayView* input);

} // namespace orvanel::test
