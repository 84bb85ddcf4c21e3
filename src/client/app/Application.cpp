#include "app/Application.h"

#include "shared/modShared.h"
#include "vb/VbError.h"

#include <cstdlib>
#include <exception>
#include <utility>

namespace app {

namespace {

Application::EndHandler& endHandler() {
    static Application::EndHandler handler;
    return handler;
}

} // namespace

Application::Application(int& argc, char** argv) : QApplication(argc, argv) {}

bool Application::notify(QObject* receiver, QEvent* event) {
    try {
        return QApplication::notify(receiver, event);
    } catch (const vb::VbError& error) {
        subEndWithRunTimeError(error.number(), error.description());
    } catch (const std::exception& error) {
        // Not one of the language's errors: shown with its own text, as an internal error.
        subEndWithRunTimeError(vb::err::InternalError, QString::fromLocal8Bit(error.what()));
    } catch (...) {
        subEndWithRunTimeError(vb::err::InternalError, vb::errorMessage(vb::err::InternalError));
    }
    return false;
}

void Application::subEndWithRunTimeError(int number, const QString& description) {
    modShared::subShowRunTimeError(number, description);
    if (endHandler())
        endHandler()(EXIT_FAILURE);
    else
        std::_Exit(EXIT_FAILURE);
}

Application::EndHandler Application::setEndHandler(EndHandler handler) {
    return std::exchange(endHandler(), std::move(handler));
}

} // namespace app
