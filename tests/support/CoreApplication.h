#pragma once

// Tests of objects that need Qt's event loop (the link waits in one) but no widgets.

#include <QCoreApplication>

namespace testsupport {

inline void ensureCoreApplication() {
    static int argc = 1;
    static char name[] = "tillsight-test";
    static char* argv[] = {name, nullptr};
    if (!QCoreApplication::instance()) new QCoreApplication(argc, argv);
}

} // namespace testsupport
