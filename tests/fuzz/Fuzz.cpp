#include "Fuzz.h"

#include <cstdio>
#include <cstdlib>

namespace orvanel::test {

void require(bool holds, const char* what) {
    if (!holds) {
        std::fprintf(stderr, "BROKEN RULE: %s\n", what);
        std::abort();
    }
}

QByteArrayView takePart(QByteArrayView* input) {
    constexpr QByteArrayView border = "\n----\n";
    const qsizetype found = input->indexOf(border);
    const QByteArrayView part = found < 0 ? *input : input->first(found);
    *input = found < 0 ? QByteArrayView() : input->sliced(found + border.size());
    return part;
}

int takeByte(QByteArrayView* input) {
    if (input->isEmpty()) {
        return 0;
    }
    const int value = static_cast<unsigned char>(input->front());
    *input = input->sliced(1);
    return value;
}

} // namespace orvanel::test
