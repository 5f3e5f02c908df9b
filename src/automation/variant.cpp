#include <cctype>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <limits>

#include "automation/automation.h"
#include "strings/strings.h"

namespace automation {
namespace {

[[noreturn]] void ThrowTypeMismatch() { throw AutomationError(std::string(kErrTypeMismatch)); }

std::string_view Trim(std::string_view s) {
    while (!s.empty() && (s.front() == ' ' || s.front() == '\t')) s.remove_prefix(1);
    while (!s.empty() && (s.back() == ' ' || s.back() == '\t')) s.remove_suffix(1);
    return s;
}

// True when the whole text is a number written in decimal: a sign, digits with at most one
// decimal point (one digit at least), and an exponent. Nothing else counts as a number: not
// "nan", "inf" or "infinity", not hexadecimal, not thousands separators, not a second sign.
bool IsDecimalNumber(std::string_view s) {
    std::size_t i = 0;
    auto digits = [&] {
        std::size_t start = i;
        while (i < s.size() && s[i] >= '0' && s[i] <= '9') ++i;
        return i - start;
    };
    if (i < s.size() && (s[i] == '+' || s[i] == '-')) ++i;
    std::size_t mantissa = digits();
    if (i < s.size() && s[i] == '.') {
        ++i;
        mantissa += digits();
    }
    if (mantissa == 0) return false;
    if (i < s.size() && (s[i] == 'e' || s[i] == 'E')) {
        ++i;
        if (i < s.size() && (s[i] == '+' || s[i] == '-')) ++i;
        if (digits() == 0) return false;
    }
    return i == s.size();
}

// Whether a decimal number is zero: every digit before its exponent is '0', whatever the
// exponent, so that a number too large or too small for a double still counts as not zero.
bool IsZeroNumber(std::string_view s) {
    for (char c : s) {
        if (c == 'e' || c == 'E') break;
        if (c >= '1' && c <= '9') return false;
    }
    return true;
}

// A whole text read as a decimal number (integral or not). False when it is not one.
bool ParseNumber(std::string_view text, double& out) {
    std::string_view s = Trim(text);
    if (!IsDecimalNumber(s)) return false;
    if (s.front() == '+') s.remove_prefix(1);
    auto [end, ec] = std::from_chars(s.data(), s.data() + s.size(), out);
    return ec == std::errc() && end == s.data() + s.size();
}

}  // namespace

bool Variant::AsBool() const {
    if (Type() != VariantType::Bool) ThrowTypeMismatch();
    return std::get<bool>(value_);
}

std::int16_t Variant::AsInt16() const {
    if (Type() != VariantType::Int16) ThrowTypeMismatch();
    return std::get<std::int16_t>(value_);
}

std::int32_t Variant::AsInt32() const {
    if (Type() != VariantType::Int32) ThrowTypeMismatch();
    return std::get<std::int32_t>(value_);
}

const std::string& Variant::AsString() const {
    if (Type() != VariantType::String) ThrowTypeMismatch();
    return std::get<std::string>(value_);
}

const ObjectRef& Variant::AsObject() const {
    if (Type() != VariantType::Object) ThrowTypeMismatch();
    return std::get<ObjectRef>(value_);
}

std::string Variant::ToString() const {
    switch (Type()) {
        case VariantType::Empty:
            return "";
        case VariantType::Bool:
            return std::get<bool>(value_) ? "True" : "False";
        case VariantType::Int16:
            return std::to_string(std::get<std::int16_t>(value_));
        case VariantType::Int32:
            return std::to_string(std::get<std::int32_t>(value_));
        case VariantType::String:
            return std::get<std::string>(value_);
        case VariantType::Object:
            ThrowTypeMismatch();
    }
    ThrowTypeMismatch();
}

bool Variant::ToBool() const {
    switch (Type()) {
        case VariantType::Empty:
            return false;
        case VariantType::Bool:
            return std::get<bool>(value_);
        case VariantType::Int16:
            return std::get<std::int16_t>(value_) != 0;
        case VariantType::Int32:
            return std::get<std::int32_t>(value_) != 0;
        case VariantType::String: {
            std::string_view s = Trim(std::get<std::string>(value_));
            if (strings::EqualNoCase(s, "True")) return true;
            if (strings::EqualNoCase(s, "False")) return false;
            if (IsDecimalNumber(s)) return !IsZeroNumber(s);
            ThrowTypeMismatch();
        }
        case VariantType::Object:
            ThrowTypeMismatch();
    }
    ThrowTypeMismatch();
}

std::int32_t Variant::ToInt32() const {
    switch (Type()) {
        case VariantType::Empty:
            return 0;
        case VariantType::Bool:
            return std::get<bool>(value_) ? -1 : 0;
        case VariantType::Int16:
            return std::get<std::int16_t>(value_);
        case VariantType::Int32:
            return std::get<std::int32_t>(value_);
        case VariantType::String: {
            double number = 0;
            if (!ParseNumber(std::get<std::string>(value_), number)) ThrowTypeMismatch();
            if (number < std::numeric_limits<std::int32_t>::min() ||
                number > std::numeric_limits<std::int32_t>::max()) {
                throw AutomationError("Overflow");
            }
            return static_cast<std::int32_t>(std::nearbyint(number));
        }
        case VariantType::Object:
            ThrowTypeMismatch();
    }
    ThrowTypeMismatch();
}

std::int16_t Variant::ToInt16() const {
    std::int32_t v = ToInt32();
    if (v < std::numeric_limits<std::int16_t>::min() ||
        v > std::numeric_limits<std::int16_t>::max()) {
        throw AutomationError("Overflow");
    }
    return static_cast<std::int16_t>(v);
}

ObjectRef Variant::ToObject() const {
    if (IsEmpty()) return nullptr;
    return AsObject();
}

bool Variant::operator==(const Variant& other) const { return value_ == other.value_; }

}  // namespace automation
