#pragma once

// The client's application object. A procedure with no error handling of its own (a view's load,
// a grid's events) leaves its error to the runtime, which shows the run-time error box and ends
// the program; every event passes through notify, nested event loops included, so that is where
// the client does the same.

#include <QApplication>
#include <functional>

namespace app {

class Application : public QApplication {
public:
    Application(int& argc, char** argv);

    bool notify(QObject* receiver, QEvent* event) override;

    // What ends the program after the box: by default at once, as the runtime ends it (nothing is
    // saved at exit anyway). Tests record the end instead. Returns the previous handler; an empty
    // one restores the default.
    using EndHandler = std::function<void(int exitCode)>;
    static EndHandler setEndHandler(EndHandler handler);

private:
    static void subEndWithRunTimeError(int number, const QString& description);
};

} // namespace app
