#pragma once

// How a report view asks the local video viewer for a camera's recorded history: by the standard
// method (a session with the viewer's IPC server) or by the DVMS text command over TCP. A view
// makes one method as it loads, by the setting of that moment, and keeps it until it unloads.

#include "dvr/DvrIpcProtocol.h"

#include <QString>
#include <cstdint>
#include <memory>

class QObject;

namespace dvr {

// The recorder and camera that watch one register.
struct CameraAssignment {
    QString dvrAddress;
    QString userName;
    QString password;
    std::int16_t camera = 0;
};

// Where the viewer listens.
struct Endpoints {
    static constexpr quint16 kDefaultDvmsPort = 5111;
    quint16 dvmsPort = kDefaultDvmsPort;
    QString ipcName = ipc::defaultServerName();
};

// The setting's value for the text-command method; anything else is the standard method, the
// default, so a stray value in the settings file still finds the viewer.
inline constexpr std::int16_t kDvmsMethod = 1;

class DvrMethod {
public:
    virtual ~DvrMethod() = default;
    // As the view loads; false when the viewer could not be reached (the view tells the user).
    virtual bool open() = 0;
    // Asks for the camera's history at `when` (a date serial). The viewer never answers and
    // trouble on the way is never reported: a lost request is asked again by the next search.
    virtual void showHistory(const CameraAssignment& assignment, double when) = 0;
    // As the view unloads.
    virtual void close() = 0;
};

// The method `setting` names. A method that needs Qt objects of its own makes them children of
// `owner`, so they live and can be found where the view is.
std::unique_ptr<DvrMethod> makeDvrMethod(std::int16_t setting, const Endpoints& endpoints,
                                         QObject* owner);

// "history,2003,03,28,14,05,09,02": the moment, then the camera with at least two digits.
QString fncDVMSCommand(double when, std::int16_t camera);

} // namespace dvr
