#pragma once

#include <QApplication>
#include <QTest>

// Runs several Qt Test classes in one executable; the exit code counts the
// classes that failed.
template <typename... Tests> int runTests(int argc, char** argv)
{
    QApplication app(argc, argv);
    int failed = 0;
    auto one = [&](QObject&& t) { failed += QTest::qExec(&t, argc, argv) != 0 ? 1 : 0; };
    (one(Tests{}), ...);
    return failed;
}

// The main() of a test executable that runs these classes.
#define VELMORA_TEST_MAIN(...)                                                                     \
    int main(int argc, char** argv)                                                                \
    {                                                                                              \
        return runTests<__VA_ARGS__>(argc, argv);                                                  \
    }
