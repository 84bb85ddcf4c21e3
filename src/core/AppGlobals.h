#pragma once

// The few values the whole client shares for the length of a run, on the user-interface thread.

#include <QString>
#include <cstdint>

// True while the link is connected; the session sets and clears it as the link reports.
extern bool gConnected;
// How a DVR search reaches the video viewer (0 standard, 1 text command), read at start-up.
extern std::int16_t gDVRMethod;
// Whether printing shows a preview first, read at start-up.
extern bool gEnablePreview;

namespace core {

// The title every caption and message box falls back to. A second instance renames its own title
// before it hands over to the first, so the title is not a constant.
QString applicationTitle();
void setApplicationTitle(const QString& title);

// "major.minor.revision" of this build.
QString versionText();

} // namespace core
