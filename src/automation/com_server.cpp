// The server side: an IDispatch over any of our Objects, for other processes to call.
#include <atomic>
#include <mutex>
#include <unordered_map>
#include <vector>

#include "automation/com.h"
#include "automation/com_internal.h"

namespace automation::com {
namespace {

using detail::FromVariant;
using detail::ToVariant;

// Ids handed out for names lie above every dispatch id an object answers by itself.
constexpr DISPID kFirstNameId = 0x40000000;

// Names by id and ids by name, the same for every object of the process, so that an id a
// caller learnt on one object means the same name on another.
struct NameTable {
    std::mutex mutex;
    std::unordered_map<std::string, DISPID> ids;
    std::vector<std::string> names;
};

NameTable& Names() {
    static NameTable table;
    return table;
}

DISPID IdOfName(const std::string& name) {
    NameTable& table = Names();
    std::lock_guard lock(table.mutex);
    auto it = table.ids.find(name);
    if (it != table.ids.end()) return it->second;
    DISPID id = kFirstNameId + static_cast<DISPID>(table.names.size());
    table.names.push_back(name);
    table.ids.emplace(name, id);
    return id;
}

// The name of an id handed out by IdOfName; false for an object's own dispatch id.
bool NameOfId(DISPID id, std::string& name) {
    if (id < kFirstNameId) return false;
    NameTable& table = Names();
    std::lock_guard lock(table.mutex);
    auto index = static_cast<std::size_t>(id - kFirstNameId);
    if (index >= table.names.size()) return false;
    name = table.names[index];
    return true;
}

std::atomic<std::uint64_t> gServedCalls{0};
std::atomic<std::uint64_t> gServedCasts{0};

class Adapter;

// The live adapters, by the object each adapts: one IDispatch per object, so that an object
// handed out twice is the same object to the other side too.
struct AdapterTable {
    std::mutex mutex;
    std::unordered_map<const Object*, Adapter*> byObject;
    std::unordered_map<const IDispatch*, Adapter*> byDispatch;
};

AdapterTable& Adapters() {
    static AdapterTable table;
    return table;
}

CallKind KindOf(WORD flags) {
    if ((flags & (DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF)) != 0) return CallKind::Put;
    if ((flags & DISPATCH_METHOD) != 0) return CallKind::Method;
    return CallKind::Get;
}

HRESULT Raise(EXCEPINFO* info, const std::string& description) {
    if (info == nullptr) return E_FAIL;
    *info = EXCEPINFO{};
    std::wstring wide = detail::Wide(description);
    info->bstrDescription = ::SysAllocStringLen(wide.data(), static_cast<UINT>(wide.size()));
    info->bstrSource = ::SysAllocString(L"Corvansil");
    info->scode = E_FAIL;
    return DISP_E_EXCEPTION;
}

// COM interfaces have no virtual destructor: the object deletes itself in Release.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"
class Adapter final : public IDispatch {
  public:
    explicit Adapter(ObjectRef object) : object_(std::move(object)) {}

    const ObjectRef& Adapted() const { return object_; }

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
        if (out == nullptr) return E_POINTER;
        *out = nullptr;
        bool basic = iid == IID_IUnknown || iid == IID_IDispatch;
        if (!basic) gServedCasts.fetch_add(1, std::memory_order_relaxed);
        if (basic || Implements(iid)) {
            *out = static_cast<IDispatch*>(this);
            AddRef();
            return S_OK;
        }
        return E_NOINTERFACE;
    }

    ULONG STDMETHODCALLTYPE AddRef() override { return ++references_; }

    ULONG STDMETHODCALLTYPE Release() override {
        AdapterTable& table = Adapters();
        std::unique_lock lock(table.mutex);
        ULONG left = --references_;
        if (left != 0) return left;
        auto it = table.byObject.find(object_.get());
        if (it != table.byObject.end() && it->second == this) table.byObject.erase(it);
        table.byDispatch.erase(this);
        lock.unlock();
        delete this;
        return 0;
    }

    HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) override {
        if (count == nullptr) return E_POINTER;
        *count = 0;
        return S_OK;
    }

    HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo** info) override {
        if (info != nullptr) *info = nullptr;
        return DISP_E_BADINDEX;
    }

    // Every name gets an id; whether the object has such a member shows when it is called.
    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID,
                                            DISPID* ids) override {
        gServedCalls.fetch_add(1, std::memory_order_relaxed);
        if (names == nullptr || ids == nullptr || count == 0) return E_INVALIDARG;
        ids[0] = IdOfName(detail::Narrow(names[0], std::wcslen(names[0])));
        // Arguments are not named in our calls.
        for (UINT i = 1; i < count; ++i) ids[i] = DISPID_UNKNOWN;
        return count == 1 ? S_OK : DISP_E_UNKNOWNNAME;
    }

    HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID, LCID, WORD flags, DISPPARAMS* params,
                                     VARIANT* result, EXCEPINFO* info, UINT*) override {
        gServedCalls.fetch_add(1, std::memory_order_relaxed);
        if (result != nullptr) ::VariantInit(result);
        CallKind kind = KindOf(flags);
        UINT named = params == nullptr ? 0 : params->cNamedArgs;
        bool putValueNamed = kind == CallKind::Put && named == 1 &&
                             params->rgdispidNamedArgs[0] == DISPID_PROPERTYPUT;
        if (named != 0 && !putValueNamed) return DISP_E_NONAMEDARGS;
        try {
            Args args = ArgsOf(params);
            std::string name;
            Variant value = NameOfId(id, name) ? object_->InvokeByName(name, kind, args)
                                               : object_->Invoke(id, kind, args);
            if (result != nullptr) ToVariant(value, *result);
            return S_OK;
        } catch (const std::exception& error) {
            return Raise(info, error.what());
        } catch (...) {
            return Raise(info, "unexpected failure in the called object");
        }
    }

  private:
    ~Adapter() = default;

    bool Implements(REFIID iid) const {
        try {
            return object_->Implements(detail::GuidText(iid));
        } catch (const std::exception&) {
            return false;
        }
    }

    // In call order: the positional arguments (given last first), then a put's value.
    static Args ArgsOf(const DISPPARAMS* params) {
        Args args;
        if (params == nullptr) return args;
        UINT named = params->cNamedArgs;
        for (UINT i = params->cArgs; i > named; --i) {
            args.push_back(FromVariant(params->rgvarg[i - 1], kPeerOfCallers));
        }
        if (named == 1 && params->cArgs >= 1) {
            args.push_back(FromVariant(params->rgvarg[0], kPeerOfCallers));
        }
        return args;
    }

    // How an object that a caller hands us names its owner when it has gone.
    static constexpr const char* kPeerOfCallers = "the calling program";

    ObjectRef object_;
    std::atomic<ULONG> references_{1};
};
#pragma GCC diagnostic pop

}  // namespace

IDispatch* DispatchOfObject(const ObjectRef& object) {
    if (!object) return nullptr;
    if (IDispatch* own = detail::ClientDispatch(object.get())) {
        own->AddRef();
        return own;
    }
    AdapterTable& table = Adapters();
    std::lock_guard lock(table.mutex);
    auto it = table.byObject.find(object.get());
    if (it != table.byObject.end()) {
        it->second->AddRef();
        return it->second;
    }
    auto* adapter = new Adapter(object);
    table.byObject.emplace(object.get(), adapter);
    table.byDispatch.emplace(adapter, adapter);
    return adapter;
}

ServedCounts ServedCallCounts() {
    return ServedCounts{gServedCalls.load(std::memory_order_relaxed),
                        gServedCasts.load(std::memory_order_relaxed)};
}

std::size_t AdapterCount() {
    AdapterTable& table = Adapters();
    std::lock_guard lock(table.mutex);
    return table.byObject.size();
}

namespace detail {

ObjectRef AdaptedObject(IDispatch* dispatch) {
    AdapterTable& table = Adapters();
    std::lock_guard lock(table.mutex);
    auto it = table.byDispatch.find(dispatch);
    return it == table.byDispatch.end() ? nullptr : it->second->Adapted();
}

}  // namespace detail

}  // namespace automation::com
