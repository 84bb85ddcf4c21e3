#include "app/Main.h"

#include <QApplication>

int main(int argc, char** argv) {
    QApplication application(argc, argv);
    application.setApplicationName(QStringLiteral("tillsight"));
    if (!app::Main()) return 0;
    return application.exec();
}
