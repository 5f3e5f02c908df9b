// The client side: an Object over a COM object's IDispatch.
#include <mutex>
#include <unordered_map>
#include <utility>
#include <vector>

#include "automation/com.h"
#include "automation/com_internal.h"

namespace automation::com {
namespace {

using detail::FromVariant;
using detail::ThrowFailure;
using detail::ToVariant;

WORD FlagsOf(CallKind kind, const Args& args) {
    switch (kind) {
        case CallKind::Get:
            return DISPATCH_PROPERTYGET;
        case CallKind::Put:
            // An object is assigned by reference, everything else by value.
            if (!args.empty() && args.back().IsObject()) return DISPATCH_PROPERTYPUTREF;
            return DISPATCH_PROPERTYPUT;
        case CallKind::Method:
            return DISPATCH_METHOD;
    }
    return DISPATCH_METHOD;
}

// Arguments as IDispatch::Invoke takes them: last first; a put's value is the named argument.
class InvokeArgs {
  public:
    explicit InvokeArgs(const Args& args) : values_(args.size()) {
        for (VARIANT& v : values_) ::VariantInit(&v);
        for (std::size_t i = 0; i < args.size(); ++i) {
            ToVariant(args[i], values_[args.size() - 1 - i]);
        }
    }
    ~InvokeArgs() {
        for (VARIANT& v : values_) ::VariantClear(&v);
    }
    InvokeArgs(const InvokeArgs&) = delete;
    InvokeArgs& operator=(const InvokeArgs&) = delete;

    DISPPARAMS Params(CallKind kind) {
        DISPPARAMS params{};
        params.rgvarg = values_.empty() ? nullptr : values_.data();
        params.cArgs = static_cast<UINT>(values_.size());
        if (kind == CallKind::Put) {
            params.rgdispidNamedArgs = &putId_;
            params.cNamedArgs = 1;
        }
        return params;
    }

  private:
    std::vector<VARIANT> values_;
    DISPID putId_ = DISPID_PROPERTYPUT;
};

class DispatchObject : public Object {
  public:
    DispatchObject(IDispatch* dispatch, std::string peer)
        : dispatch_(dispatch), peer_(std::move(peer)) {
        dispatch_->AddRef();
    }
    ~DispatchObject() override { dispatch_->Release(); }
    DispatchObject(const DispatchObject&) = delete;
    DispatchObject& operator=(const DispatchObject&) = delete;

    IDispatch* Dispatch() const { return dispatch_; }

    Variant Invoke(std::int32_t dispid, CallKind kind, const Args& args) override {
        if (kind == CallKind::Put && args.empty()) {
            throw AutomationError(std::string(kErrBadArgCount));
        }
        InvokeArgs invokeArgs(args);
        DISPPARAMS params = invokeArgs.Params(kind);
        VARIANT result;
        ::VariantInit(&result);
        EXCEPINFO info{};
        UINT badArg = 0;
        HRESULT hr =
            dispatch_->Invoke(dispid, IID_NULL, LOCALE_USER_DEFAULT, FlagsOf(kind, args), &params,
                              kind == CallKind::Put ? nullptr : &result, &info, &badArg);
        if (FAILED(hr)) ThrowFailure(hr, &info, peer_);
        Variant value;
        try {
            value = FromVariant(result, peer_);
        } catch (...) {
            ::VariantClear(&result);
            throw;
        }
        ::VariantClear(&result);
        return value;
    }

    Variant InvokeByName(std::string_view name, CallKind kind, const Args& args) override {
        return Invoke(IdOfName(name), kind, args);
    }

    // Asked once per interface: an object does not change the interfaces it has.
    bool Implements(std::string_view iid) const override {
        std::lock_guard lock(mutex_);
        for (const auto& [known, answer] : implements_) {
            if (SameIid(known, iid)) return answer;
        }
        GUID guid;
        bool answer = false;
        if (detail::ParseGuid(iid, guid)) {
            IUnknown* unknown = nullptr;
            HRESULT hr = dispatch_->QueryInterface(guid, reinterpret_cast<void**>(&unknown));
            if (SUCCEEDED(hr) && unknown != nullptr) {
                unknown->Release();
                answer = true;
            }
        }
        implements_.emplace_back(std::string(iid), answer);
        return answer;
    }

  private:
    DISPID IdOfName(std::string_view name) {
        std::string key(name);
        {
            std::lock_guard lock(mutex_);
            auto it = ids_.find(key);
            if (it != ids_.end()) return it->second;
        }
        std::wstring wide = detail::Wide(name);
        LPOLESTR names[1] = {wide.data()};
        DISPID id = DISPID_UNKNOWN;
        HRESULT hr = dispatch_->GetIDsOfNames(IID_NULL, names, 1, LOCALE_USER_DEFAULT, &id);
        if (FAILED(hr)) ThrowFailure(hr, nullptr, peer_);
        std::lock_guard lock(mutex_);
        ids_.emplace(std::move(key), id);
        return id;
    }

    IDispatch* dispatch_;
    std::string peer_;
    mutable std::mutex mutex_;
    std::unordered_map<std::string, DISPID> ids_;
    mutable std::vector<std::pair<std::string, bool>> implements_;
};

CLSID ClassOf(const std::string& progId) {
    CLSID clsid;
    std::wstring wide = detail::Wide(progId);
    HRESULT hr = ::CLSIDFromString(wide.c_str(), &clsid);  // a ProgID or "{...}"
    if (FAILED(hr)) throw AutomationError("ActiveX component can't create object");
    return clsid;
}

ObjectRef TakeObject(IUnknown* unknown, const std::string& peer) {
    IDispatch* dispatch = nullptr;
    HRESULT hr = unknown->QueryInterface(IID_IDispatch, reinterpret_cast<void**>(&dispatch));
    unknown->Release();
    if (FAILED(hr)) ThrowFailure(hr, nullptr, peer);
    ObjectRef object = ObjectOfDispatch(dispatch, peer);
    dispatch->Release();
    return object;
}

}  // namespace

ObjectRef ObjectOfDispatch(IDispatch* dispatch, const std::string& peer) {
    if (dispatch == nullptr) return nullptr;
    if (ObjectRef own = detail::AdaptedObject(dispatch)) return own;
    return std::make_shared<DispatchObject>(dispatch, peer);
}

namespace detail {

IDispatch* ClientDispatch(const Object* object) {
    auto* client = dynamic_cast<const DispatchObject*>(object);
    return client == nullptr ? nullptr : client->Dispatch();
}

}  // namespace detail

void InitializeApartment() {
    // S_FALSE and RPC_E_CHANGED_MODE mean the thread has COM already, which is all we need.
    (void)::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
}

ObjectRef ActiveObject(const std::string& progId, const std::string& peer) {
    InitializeApartment();
    CLSID clsid = ClassOf(progId);
    IUnknown* unknown = nullptr;
    HRESULT hr = ::GetActiveObject(clsid, nullptr, &unknown);
    if (FAILED(hr) || unknown == nullptr) {
        throw AutomationError("ActiveX component can't create object");
    }
    return TakeObject(unknown, peer);
}

ObjectRef NewObject(const std::string& progId, const std::string& peer) {
    InitializeApartment();
    CLSID clsid = ClassOf(progId);
    IUnknown* unknown = nullptr;
    HRESULT hr = ::CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER | CLSCTX_LOCAL_SERVER,
                                    IID_IUnknown, reinterpret_cast<void**>(&unknown));
    if (FAILED(hr) || unknown == nullptr) {
        throw AutomationError("ActiveX component can't create object");
    }
    return TakeObject(unknown, peer);
}

}  // namespace automation::com
