// Helpers shared by the COM client and the COM adapter.
#pragma once

#include <windows.h>
// After windows.h, which it needs.
#include <oleauto.h>

#include <string>
#include <string_view>

#include "automation/automation.h"

namespace automation::com::detail {

std::wstring Wide(std::string_view text);
std::string Narrow(const wchar_t* text, std::size_t size);
std::string Narrow(BSTR text);

// "{XXXXXXXX-XXXX-...}" in upper case, and back; ParseGuid is false for text of another shape.
std::string GuidText(const GUID& guid);
bool ParseGuid(std::string_view text, GUID& out);

// Fills `out` (which must be empty) with `value`; objects go as IDispatch. Raises
// AutomationError for an object that cannot be offered.
void ToVariant(const Variant& value, VARIANT& out);
// The value of a VARIANT, by reference or not; objects of another process become client
// objects named `peer`. Raises "Type mismatch" for what has no automation value here.
Variant FromVariant(const VARIANT& in, const std::string& peer);

// The client object's own IDispatch (no new reference), or nullptr for any other object.
IDispatch* ClientDispatch(const Object* object);

// The adapter's object when `dispatch` is one of this process's adapters, else nullptr.
ObjectRef AdaptedObject(IDispatch* dispatch);

// Raises AutomationError for a failed HRESULT; `info` is the exception of DISP_E_EXCEPTION.
[[noreturn]] void ThrowFailure(HRESULT hr, EXCEPINFO* info, const std::string& peer);

}  // namespace automation::com::detail
