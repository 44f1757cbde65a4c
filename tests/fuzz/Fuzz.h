#pragma once

#include <QByteArrayView>

namespace orvanel::test {

/// Defined by each program here: reads the bytes as Orvanel would, and checks with require() what must hold for any
/// bytes.
void fuzz(QByteArrayView input);

/// Ends the program with the message `what` if a rule is broken.
void require(bool holds, const char* what);

/// Removes and returns the front of `input`, up to a line "----" or the end. With such lines, people can read and write
/// inputs of several parts.
QByteArrayView takePart(QByteArrayView* input);

/// Removes the first byte of `input` and returns it as a number; 0 if there is none.
int takeByte(QByteArrayView* input);

} // namespace orvanel::test
