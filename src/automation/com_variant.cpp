// Texts, identifiers and values between our automation types and COM's.
#include <cstdio>

#include "automation/com.h"
#include "automation/com_internal.h"

namespace automation::com {
namespace detail {

std::wstring Wide(std::string_view text) {
    if (text.empty()) return L"";
    int size =
        ::MultiByteToWideChar(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), nullptr, 0);
    std::wstring wide(static_cast<std::size_t>(size), L'\0');
    ::MultiByteToWideChar(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), wide.data(),
                          size);
    return wide;
}

std::string Narrow(const wchar_t* text, std::size_t size) {
    if (text == nullptr || size == 0) return "";
    int bytes = ::WideCharToMultiByte(CP_UTF8, 0, text, static_cast<int>(size), nullptr, 0, nullptr,
                                      nullptr);
    std::string narrow(static_cast<std::size_t>(bytes), '\0');
    ::WideCharToMultiByte(CP_UTF8, 0, text, static_cast<int>(size), narrow.data(), bytes, nullptr,
                          nullptr);
    return narrow;
}

std::string Narrow(BSTR text) { return Narrow(text, text == nullptr ? 0 : ::SysStringLen(text)); }

std::string GuidText(const GUID& guid) {
    char text[40];
    std::snprintf(text, sizeof text, "{%08lX-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X}",
                  guid.Data1, guid.Data2, guid.Data3, guid.Data4[0], guid.Data4[1], guid.Data4[2],
                  guid.Data4[3], guid.Data4[4], guid.Data4[5], guid.Data4[6], guid.Data4[7]);
    return text;
}

bool ParseGuid(std::string_view text, GUID& out) {
    if (text.size() != 38 || text.front() != '{' || text.back() != '}') return false;
    std::wstring wide = Wide(text);
    return SUCCEEDED(::CLSIDFromString(wide.c_str(), &out));
}

void ToVariant(const Variant& value, VARIANT& out) {
    ::VariantInit(&out);
    switch (value.Type()) {
        case VariantType::Empty:
            return;
        case VariantType::Bool:
            out.vt = VT_BOOL;
            out.boolVal = value.AsBool() ? VARIANT_TRUE : VARIANT_FALSE;
            return;
        case VariantType::Int16:
            out.vt = VT_I2;
            out.iVal = value.AsInt16();
            return;
        case VariantType::Int32:
            out.vt = VT_I4;
            out.lVal = value.AsInt32();
            return;
        case VariantType::String: {
            std::wstring wide = Wide(value.AsString());
            out.vt = VT_BSTR;
            out.bstrVal = ::SysAllocStringLen(wide.data(), static_cast<UINT>(wide.size()));
            return;
        }
        case VariantType::Object:
            out.vt = VT_DISPATCH;
            out.pdispVal = DispatchOfObject(value.AsObject());
            return;
    }
}

Variant FromVariant(const VARIANT& in, const std::string& peer) {
    if ((in.vt & VT_BYREF) != 0) {
        // A reference is read as the value it points at.
        VARIANT value;
        ::VariantInit(&value);
        if (in.vt == (VT_BYREF | VT_VARIANT)) return FromVariant(*in.pvarVal, peer);
        if (FAILED(::VariantCopyInd(&value, const_cast<VARIANT*>(&in)))) {
            throw AutomationError(std::string(kErrTypeMismatch));
        }
        Variant result = FromVariant(value, peer);
        ::VariantClear(&value);
        return result;
    }
    switch (in.vt) {
        case VT_EMPTY:
        case VT_NULL:
            return {};
        case VT_ERROR:
            // An optional argument left out.
            if (in.scode == DISP_E_PARAMNOTFOUND) return {};
            break;
        case VT_BOOL:
            return in.boolVal != VARIANT_FALSE;
        case VT_I2:
            return static_cast<std::int16_t>(in.iVal);
        case VT_I4:
            return static_cast<std::int32_t>(in.lVal);
        case VT_INT:
            return static_cast<std::int32_t>(in.intVal);
        case VT_UI1:
            return static_cast<std::int16_t>(in.bVal);
        case VT_BSTR:
            return Narrow(in.bstrVal);
        case VT_DISPATCH:
            return ObjectOfDispatch(in.pdispVal, peer);
        case VT_UNKNOWN: {
            if (in.punkVal == nullptr) return ObjectRef();
            IDispatch* dispatch = nullptr;
            if (FAILED(in.punkVal->QueryInterface(IID_IDispatch,
                                                  reinterpret_cast<void**>(&dispatch)))) {
                break;
            }
            ObjectRef object = ObjectOfDispatch(dispatch, peer);
            dispatch->Release();
            return object;
        }
        default:
            break;
    }
    // Other numbers, dates and currency read as the text COM writes for them.
    VARIANT text;
    ::VariantInit(&text);
    if (FAILED(::VariantChangeType(&text, const_cast<VARIANT*>(&in), 0, VT_BSTR))) {
        throw AutomationError(std::string(kErrTypeMismatch));
    }
    std::string result = Narrow(text.bstrVal);
    ::VariantClear(&text);
    return result;
}

static bool IsGone(HRESULT hr) {
    return hr == RPC_E_DISCONNECTED || hr == RPC_E_SERVER_DIED || hr == RPC_E_SERVER_DIED_DNE ||
           hr == CO_E_OBJNOTCONNECTED || hr == HRESULT_FROM_WIN32(RPC_S_SERVER_UNAVAILABLE) ||
           hr == HRESULT_FROM_WIN32(RPC_S_CALL_FAILED);
}

[[noreturn]] void ThrowFailure(HRESULT hr, EXCEPINFO* info, const std::string& peer) {
    if (hr == DISP_E_EXCEPTION && info != nullptr) {
        if (info->pfnDeferredFillIn != nullptr) info->pfnDeferredFillIn(info);
        std::string description = Narrow(info->bstrDescription);
        HRESULT code = info->scode != 0 ? info->scode : static_cast<HRESULT>(info->wCode);
        ::SysFreeString(info->bstrSource);
        ::SysFreeString(info->bstrDescription);
        ::SysFreeString(info->bstrHelpFile);
        if (description.empty()) description = ErrorText(code, peer);
        throw AutomationError(description);
    }
    throw AutomationError(ErrorText(hr, peer));
}

}  // namespace detail

std::string ErrorText(long hr, const std::string& peer) {
    switch (static_cast<HRESULT>(hr)) {
        case DISP_E_MEMBERNOTFOUND:
        case DISP_E_UNKNOWNNAME:
            return std::string(kErrMemberNotFound);
        case DISP_E_TYPEMISMATCH:
        case DISP_E_BADVARTYPE:
            return std::string(kErrTypeMismatch);
        case DISP_E_BADPARAMCOUNT:
        case DISP_E_PARAMNOTOPTIONAL:
            return std::string(kErrBadArgCount);
        case E_NOINTERFACE:
            return std::string(kErrNoInterface);
        case DISP_E_OVERFLOW:
            return "Overflow";
        default:
            break;
    }
    if (detail::IsGone(static_cast<HRESULT>(hr))) return peer + " closed the connection";
    wchar_t* message = nullptr;
    DWORD size = ::FormatMessageW(
        FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
        nullptr, static_cast<DWORD>(hr), 0, reinterpret_cast<wchar_t*>(&message), 0, nullptr);
    std::string text = detail::Narrow(message, size);
    ::LocalFree(message);
    while (!text.empty() && (text.back() == '\n' || text.back() == '\r' || text.back() == ' ')) {
        text.pop_back();
    }
    char code[40];
    std::snprintf(code, sizeof code, "automation error 0x%08lX", static_cast<unsigned long>(hr));
    return text.empty() ? std::string(code) : std::string(code) + ": " + text;
}

}  // namespace automation::com
