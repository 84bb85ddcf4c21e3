#pragma once

#include "vb/Regional.h"
#include "vb/VbError.h"

#include <gtest/gtest.h>

#include <QString>
#include <ostream>

// Lets GoogleTest print texts in failure messages.
inline void PrintTo(const QString& text, std::ostream* os) {
    *os << '"' << text.toStdString() << '"';
}

namespace testsupport {

// The error number a call raises, or 0 when it returns normally.
template <typename F> int errorOf(F&& f) {
    try {
        f();
    } catch (const vb::VbError& e) {
        return e.number();
    }
    return 0;
}

// Pins the regional forms to en-US for the test's lifetime.
class EnUsTest : public ::testing::Test {
protected:
    void SetUp() override { vb::Regional::setCurrent(vb::Regional::enUS()); }
};

} // namespace testsupport
