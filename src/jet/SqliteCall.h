#pragma once

// How a C++ body of a jet_* user function sees its SQLite call: its arguments as the value
// runtime's Variants, its result, and its errors, which become SQLite errors whose message is
// "<number>: <description>" ("13: Type mismatch") so the number survives sqlite3_errmsg().

#include "jet/SqliteValue.h"
#include "vb/Convert.h"
#include "vb/VbError.h"

#include <QString>
#include <memory>
#include <new>
#include <sqlite3.h>
#include <stdexcept>
#include <string>
#include <string_view>

namespace jet::sqlite {

using vb::Variant;
using vb::VarType;

// The runtime's number for a failure that is none of its own errors.
constexpr int kInternalError = 51;

inline void resultError(sqlite3_context* context, int number, const QString& description,
                        const char* detail = nullptr) noexcept {
    try {
        QString message = QString::number(number) + QStringLiteral(": ") + description;
        if (detail) message += QStringLiteral(": ") + QString::fromUtf8(detail);
        const QByteArray utf8 = message.toUtf8();
        sqlite3_result_error(context, utf8.constData(), static_cast<int>(utf8.size()));
    } catch (...) {
        sqlite3_result_error_nomem(context);
    }
}

// A text result longer than the connection allows.
struct TooBig {};

// Runs a function body: errors become SQLite errors, and nothing unwinds into SQLite's C frames.
template <typename Body> void guarded(sqlite3_context* context, Body&& body) noexcept {
    try {
        body();
    } catch (const TooBig&) {
        sqlite3_result_error_toobig(context);
    } catch (const vb::VbError& e) {
        resultError(context, e.number(), e.description());
    } catch (const std::bad_alloc&) {
        sqlite3_result_error_nomem(context);
    } catch (const std::exception& e) {
        resultError(context, kInternalError, QStringLiteral("Internal error"), e.what());
    } catch (...) {
        resultError(context, kInternalError, QStringLiteral("Internal error"));
    }
}

inline std::string_view bytesOf(sqlite3_value* value) {
    const auto* text = reinterpret_cast<const char*>(sqlite3_value_text(value));
    return {text ? text : "", static_cast<std::size_t>(sqlite3_value_bytes(value))};
}

inline bool isNumber(int type) {
    return type == SQLITE_INTEGER || type == SQLITE_FLOAT;
}

// One call of a function: its arguments and where its result goes.
class Call {
public:
    Call(sqlite3_context* context, int argc, sqlite3_value** argv)
        : context_(context), argc_(argc), argv_(argv) {}

    sqlite3_context* context() const { return context_; }
    int count() const { return argc_; }
    bool has(int i) const { return i < argc_; }
    sqlite3_value* raw(int i) const { return argv_[i]; }
    int type(int i) const { return sqlite3_value_type(argv_[i]); }
    bool isNull(int i) const { return type(i) == SQLITE_NULL; }
    bool isTagged(int i, unsigned subtype) const {
        return isNumber(type(i)) && sqlite3_value_subtype(argv_[i]) == subtype;
    }
    Variant value(int i) const { return variantFromSqlite(argv_[i]); }

    void result(const Variant& v) const { resultFromVariant(context_, v); }
    void resultNull() const { sqlite3_result_null(context_); }
    // Hands an argument back unchanged, its tag included.
    void resultArgument(int i) const {
        sqlite3_result_value(context_, argv_[i]);
        if (const unsigned subtype = sqlite3_value_subtype(argv_[i]))
            sqlite3_result_subtype(context_, subtype);
    }

private:
    sqlite3_context* context_;
    int argc_;
    sqlite3_value** argv_;
};

using ValueBody = Variant (*)(const Call&);
using DirectBody = void (*)(const Call&);

// Most functions compute a Variant; the hot ones write their result themselves.
template <ValueBody F>
void valueFunction(sqlite3_context* context, int argc, sqlite3_value** argv) {
    guarded(context, [&] {
        const Call call(context, argc, argv);
        call.result(F(call));
    });
}

template <DirectBody F>
void directFunction(sqlite3_context* context, int argc, sqlite3_value** argv) {
    guarded(context, [&] { F(Call(context, argc, argv)); });
}

// An argument's compiled form (a LIKE pattern, a Format pattern, a date interval), kept with the
// call in SQLite's auxiliary data so that a constant argument is compiled once per statement
// rather than once per row. The key check covers arguments that change from row to row. A new
// form goes to SQLite only once the call is done with it, as SQLite may destroy it at once.
template <typename T> class CompiledArg {
public:
    template <typename Compile>
    CompiledArg(const Call& call, int arg, Compile&& compile)
        : context_(call.context()), arg_(arg) {
        if (call.type(arg) != SQLITE_TEXT) { // rare enough not to keep
            fresh_.reset(new Entry{{}, compile(vb::cstr(call.value(arg)))});
            value_ = &fresh_->value;
            return;
        }
        const std::string_view key = bytesOf(call.raw(arg));
        if (auto* kept = static_cast<Entry*>(sqlite3_get_auxdata(context_, arg));
            kept && kept->key == key) {
            value_ = &kept->value;
            return;
        }
        fresh_.reset(new Entry{std::string(key), compile(QString::fromUtf8(key))});
        value_ = &fresh_->value;
        keep_ = true;
    }
    ~CompiledArg() {
        if (keep_) sqlite3_set_auxdata(context_, arg_, fresh_.release(), &destroy);
    }
    CompiledArg(const CompiledArg&) = delete;
    CompiledArg& operator=(const CompiledArg&) = delete;

    const T& get() const { return *value_; }

private:
    struct Entry {
        std::string key;
        T value;
    };
    static void destroy(void* entry) { delete static_cast<Entry*>(entry); }

    sqlite3_context* context_;
    int arg_;
    std::unique_ptr<Entry> fresh_;
    const T* value_ = nullptr;
    bool keep_ = false;
};

// Any argument as text, as the language writes it.
inline QString textArg(const Call& c, int i) {
    return vb::cstr(c.value(i));
}

// The language's CByte, which the value runtime has no Byte for: CInt's rounding, then 0 to 255.
inline std::int16_t cbyte(const Variant& v) {
    const std::int16_t n = vb::cint(v);
    if (n < 0 || n > 255) vb::raise(vb::err::Overflow);
    return n;
}

} // namespace jet::sqlite
