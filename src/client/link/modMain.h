#pragma once

// The full connect: connect the link, show the site's statistics, load the lookups the search
// view offers, and tell the user the client is ready.

#include "recordset/Recordset.h"

#include <QString>
#include <memory>

class QWidget;

// The lookups of the last full connect; they stay until the next one replaces them.
extern std::shared_ptr<rs::Recordset> grsProducts;
extern std::shared_ptr<rs::Recordset> grsActionCodes;
extern std::shared_ptr<rs::Recordset> grsClerks;
extern std::shared_ptr<rs::Recordset> grsReg2Cam;

namespace modMain {

void subFullConnect(const QString& address, int port);
void subShowTransactionStats();
// Enables or disables every control of the view; a control that refuses is skipped.
void subEnableControls(QWidget* view, bool enabled);

} // namespace modMain
