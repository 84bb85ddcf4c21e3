#pragma once

// Start-up: one running instance per user and display. A second start hands over to the first
// (which comes to the front) and ends without showing anything.

#include <QString>

class QLocalServer;
class QObject;

namespace app {

// The display this program draws on, as the window system names it ("" for none).
QString fncDisplayName();
// The rendezvous name of this user's running instance on `display`: a start on another display
// must not hand over to a window nobody there can see.
QString instanceServerName(const QString& display = fncDisplayName());

// True when another instance answers at `serverName`: this instance then renames its own title
// ("Doomed " + title), asks the other to come to the front, and should end.
bool fncAlreadyRunning(const QString& title, const QString& serverName = instanceServerName());
// Asks the running instance to show its window captioned `title` in front of the others.
void subActivatePrevInstance(const QString& title, const QString& serverName);

// Answers later starts: each one names the caption of the window to bring to the front. The
// server lives as long as `parent`.
QLocalServer* listenForLaterInstances(QObject* parent,
                                      const QString& serverName = instanceServerName());

// The whole start-up; false when this instance must end at once.
bool Main();

} // namespace app
