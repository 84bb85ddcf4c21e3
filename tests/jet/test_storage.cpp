#include "jet/Storage.h"

#include "vb/DateTime.h"

#include <gtest/gtest.h>

using namespace jet::storage;

TEST(DateStorage, LinearDaysOrderEveryMomentAndRoundTrip) {
    // 1899-12-29 06:00 is serial -1.25 but comes before 1899-12-29 18:00 (serial -1.75).
    EXPECT_LT(linearFromSerial(-1.25), linearFromSerial(-1.75));
    EXPECT_DOUBLE_EQ(linearFromSerial(-1.25), -0.75);
    EXPECT_DOUBLE_EQ(linearFromSerial(-0.5), 0.5); // 1899-12-30 12:00
    EXPECT_DOUBLE_EQ(linearFromSerial(37703.25), 37703.25);
    double previous = -1e9;
    for (std::int64_t day = -3; day <= 2; ++day) {
        for (int second : {0, 1, 43200, 86399}) {
            const double serial = vb::joinSerial(day, second);
            const double linear = linearFromSerial(serial);
            EXPECT_GT(linear, previous) << day << " " << second;
            EXPECT_DOUBLE_EQ(serialFromLinear(linear), serial);
            previous = linear;
        }
    }
}
