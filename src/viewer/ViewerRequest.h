#pragma once

// One request for recorded video as the viewer received it, whichever way it came.

#include "vb/DateTime.h"

#include <QByteArray>
#include <QString>
#include <cstdint>

namespace viewer {

enum class Method { Standard, Dvms };

struct ViewerRequest {
    Method method = Method::Standard;
    // The standard method names the recorder and its account; the DVMS command does not.
    QString dvrAddress;
    QString userName;
    bool passwordGiven = false;
    std::int16_t camera = 0;
    vb::DateParts moment;
    // The DVMS command exactly as it arrived.
    QByteArray command;
};

// "yyyy-mm-dd hh:nn:ss", as a person reads it.
QString displayMoment(const vb::DateParts& moment);
QString methodName(Method method);

} // namespace viewer
