#pragma once

#include <QObject>

#include <functional>
#include <memory>

namespace orvanel::test {

/// A test class of this program: `./program NAME` runs it, in a process of its own.
struct TestClass {
    const char* name;
    std::function<std::unique_ptr<QObject>()> make;
    /// Called before there is an application object, and so before there is a second thread.
    std::function<void()> prepare = {};
    /// Whether the test runs without an application object, because it forks.
    bool isForking = false;
};

/// Makes the class known to main(). Called before main(), by the macros below.
bool addTestClass(TestClass testClass);

} // namespace orvanel::test

/// Belongs at the end of a test class's source, in place of QTEST_MAIN.
#define ORVANEL_TEST(Class) ORVANEL_TEST_WITH(Class, )

/// The same, with further members of TestClass.
#define ORVANEL_TEST_WITH(Class, ...)                                                                                  \
    static const bool isKnown##Class =                                                                                 \
        orvanel::test::addTestClass({.name = #Class, .make = [] { return std::make_unique<Class>(); }, __VA_ARGS__});
