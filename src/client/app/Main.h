#pragma once

// Start-up: one running instance per user. A second start hands over to the first (which comes
// to the front) and ends without showing anything.

#include <QString>

class QLocalServer;
class QObject;

namespace app {

// The rendezvous name of this user's running instance.
QString instanceServerName();

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
