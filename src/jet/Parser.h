#pragma once

// Reads query text in the site's dialect into the syntax tree.

#include "jet/Ast.h"

#include <QString>

namespace jet {

// One statement, with an optional trailing ";". Raises VbError with the dialect's number and
// message when the text is not a statement the dialect takes: 3075 quoting the broken expression
// as written, 3131 for a broken FROM clause, 3134 INSERT, 3144 UPDATE, 3290 CREATE TABLE,
// 3295 DROP, 3129 for a text that starts with no statement word, 3141 for the rest of a SELECT,
// 3360 for one nested, deep or large beyond its limits. Keeps no state between calls, and bounds
// its nesting, so any text may be thrown at it.
Statement parseStatement(const QString& text);

// A lone expression, such as a calculated column or a criterion: the whole text must be one.
ExprPtr parseExpression(const QString& text);

} // namespace jet
