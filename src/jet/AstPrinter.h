#pragma once

// Writes a syntax tree back as dialect text in one canonical form: keywords in upper case,
// [brackets] only where a name needs them, dates as #yyyy/mm/dd hh:nn:ss#, 'text' with doubled
// quotes, single blanks. What it prints parses back to the same tree, so two trees compare by
// their printed text.

#include "jet/Ast.h"

#include <QString>

namespace jet {

enum class Grouping {
    Needed, // parentheses only where precedence needs them
    Every,  // around every operand that is itself an operation: shows how the text was grouped
};

QString printStatement(const Statement& statement, Grouping grouping = Grouping::Needed);
QString printExpression(const Expr& expr, Grouping grouping = Grouping::Needed);

} // namespace jet
