#pragma once

#include "process/AppError.h"
#include "support/Await.h"

using namespace Qt::StringLiterals;

namespace orvanel::test {

/// Runs a task that must fail, and returns its sentence, or "none" if it did not fail.
template <class T>
QString messageOf(QCoro::Task<T> task) {
    try {
        await(std::move(task));
    } catch (const AppError& error) {
        return error.message();
    }
    return u"none"_s;
}

} // namespace orvanel::test
