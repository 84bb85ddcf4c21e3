#include "core/AppGlobals.h"

bool gConnected = false;
std::int16_t gDVRMethod = 0;
bool gEnablePreview = false;

namespace core {

namespace {
QString& title() {
    static QString text = QStringLiteral("Tillsight Network Client");
    return text;
}
} // namespace

QString applicationTitle() {
    return title();
}

void setApplicationTitle(const QString& text) {
    title() = text;
}

QString versionText() {
    return QStringLiteral("%1.%2.%3")
        .arg(TILLSIGHT_VERSION_MAJOR)
        .arg(TILLSIGHT_VERSION_MINOR)
        .arg(TILLSIGHT_VERSION_PATCH);
}

} // namespace core
