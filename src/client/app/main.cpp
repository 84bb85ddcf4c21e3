#include "app/Application.h"
#include "app/Main.h"

int main(int argc, char** argv) {
    app::Application application(argc, argv);
    application.setApplicationName(QStringLiteral("tillsight"));
    if (!app::Main()) return 0;
    return application.exec();
}
