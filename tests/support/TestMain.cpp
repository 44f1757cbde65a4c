// Runs one test class of a program that holds several. It is compiled into each test program, because its Qt modules
// decide whether there are widgets.
#include "support/TestClass.h"

#include <QTest>
#ifdef QT_WIDGETS_LIB
#include <QApplication>
#else
#include <QCoreApplication>
#endif

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <vector>

namespace orvanel::test {
namespace {

#ifdef QT_WIDGETS_LIB
using Application = QApplication;
#else
using Application = QCoreApplication;
#endif

std::vector<TestClass>& testClasses() {
    static std::vector<TestClass> classes;
    return classes;
}

int run(const TestClass& testClass, int count, char** arguments) {
    if (testClass.prepare) {
        testClass.prepare();
    }
    if (testClass.isForking) {
        return QTest::qExec(testClass.make().get(), count, arguments);
    }
    Application::setAttribute(Qt::AA_Use96Dpi);
    const Application application(count, arguments);
    return QTest::qExec(testClass.make().get(), count, arguments);
}

int usage(const char* program) {
    std::fprintf(stderr, "Usage: %s CLASS [ARGUMENT OF QTEST…]\nClasses:\n", program);
    for (const TestClass& testClass : testClasses()) {
        std::fprintf(stderr, "  %s\n", testClass.name);
    }
    return 2;
}

} // namespace

bool addTestClass(TestClass testClass) {
    testClasses().push_back(std::move(testClass));
    return true;
}

} // namespace orvanel::test

int main(int count, char** arguments) {
    using namespace orvanel::test;
    const char* const name = count > 1 ? arguments[1] : "";
    const auto& classes = testClasses();
    const auto chosen = std::find_if(classes.begin(), classes.end(), [name](const TestClass& testClass) {
        return std::strcmp(testClass.name, name) == 0;
    });
    if (chosen == classes.end()) {
        return usage(arguments[0]);
    }
    // QTest gets the remaining arguments, as if the class were a program of its own.
    arguments[1] = arguments[0];
    return run(*chosen, count - 1, arguments + 1);
}
