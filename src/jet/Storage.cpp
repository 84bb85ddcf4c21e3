#include "jet/Storage.h"

#include <cmath>

namespace jet::storage {

double linearFromSerial(double serial) {
    const double day = std::trunc(serial);
    return day + std::fabs(serial - day);
}

double serialFromLinear(double linear) {
    const double day = std::floor(linear);
    const double fraction = linear - day;
    return day >= 0 ? day + fraction : day - fraction;
}

} // namespace jet::storage
