// Offering objects to other processes: interface registration, the running object table and
// class factories.
#include <atomic>
#include <utility>

#include "automation/com.h"
#include "automation/com_internal.h"

namespace automation::com {
namespace {

GUID RequireGuid(const std::string& text) {
    GUID guid;
    if (!detail::ParseGuid(text, guid)) throw AutomationError("not an identifier: " + text);
    return guid;
}

void Check(HRESULT hr, const std::string& what) {
    if (FAILED(hr)) throw AutomationError(what + ": " + ErrorText(hr, "COM"));
}

// Releases a COM interface pointer at the end of a scope.
template <class T>
struct Held {
    T* p = nullptr;
    ~Held() {
        if (p != nullptr) p->Release();
    }
};

// COM interfaces have no virtual destructor: the object deletes itself in Release.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"
class ClassFactory final : public IClassFactory {
  public:
    explicit ClassFactory(std::function<ObjectRef()> make) : make_(std::move(make)) {}

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
        if (out == nullptr) return E_POINTER;
        *out = nullptr;
        if (iid != IID_IUnknown && iid != IID_IClassFactory) return E_NOINTERFACE;
        *out = static_cast<IClassFactory*>(this);
        AddRef();
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++references_; }
    ULONG STDMETHODCALLTYPE Release() override {
        ULONG left = --references_;
        if (left == 0) delete this;
        return left;
    }

    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID iid, void** out) override {
        if (out == nullptr) return E_POINTER;
        *out = nullptr;
        if (outer != nullptr) return CLASS_E_NOAGGREGATION;
        try {
            IDispatch* dispatch = DispatchOfObject(make_());
            if (dispatch == nullptr) return E_FAIL;
            HRESULT hr = dispatch->QueryInterface(iid, out);
            dispatch->Release();
            return hr;
        } catch (const std::exception&) {
            return E_FAIL;
        }
    }
    HRESULT STDMETHODCALLTYPE LockServer(BOOL) override { return S_OK; }

  private:
    ~ClassFactory() = default;
    std::function<ObjectRef()> make_;
    std::atomic<ULONG> references_{1};
};
#pragma GCC diagnostic pop

}  // namespace

void RegisterInterfaces(const std::string& libraryId, const std::string& libraryPath,
                        const std::vector<std::string>& iids) {
    InitializeApartment();
    std::wstring path = detail::Wide(libraryPath);
    Held<ICreateTypeLib2> library;
    Check(::CreateTypeLib2(SYS_WIN64, path.c_str(), &library.p), "cannot create " + libraryPath);
    library.p->SetGuid(RequireGuid(libraryId));
    library.p->SetName(const_cast<LPOLESTR>(L"CorvansilInterfaces"));
    library.p->SetVersion(1, 0);
    library.p->SetLcid(LOCALE_NEUTRAL);
    // Each interface is a dispatch interface without members of its own: calls go by
    // IDispatch::Invoke, so IDispatch is all COM needs to carry them.
    Held<ITypeLib> standard;
    Check(::LoadTypeLib(L"stdole2.tlb", &standard.p), "cannot load stdole2.tlb");
    Held<ITypeInfo> dispatch;
    Check(standard.p->GetTypeInfoOfGuid(IID_IDispatch, &dispatch.p), "no IDispatch in stdole2");
    for (std::size_t i = 0; i < iids.size(); ++i) {
        std::wstring name = L"I" + std::to_wstring(i + 1);
        Held<ICreateTypeInfo> info;
        Check(library.p->CreateTypeInfo(name.data(), TKIND_DISPATCH, &info.p),
              "cannot declare " + iids[i]);
        info.p->SetGuid(RequireGuid(iids[i]));
        HREFTYPE base = 0;
        Check(info.p->AddRefTypeInfo(dispatch.p, &base), "cannot declare " + iids[i]);
        Check(info.p->AddImplType(0, base), "cannot declare " + iids[i]);
        Check(info.p->LayOut(), "cannot declare " + iids[i]);
    }
    Check(library.p->SaveAllChanges(), "cannot write " + libraryPath);
    Held<ITypeLib> saved;
    Check(::LoadTypeLib(path.c_str(), &saved.p), "cannot read " + libraryPath);
    Check(::RegisterTypeLib(saved.p, path.data(), nullptr), "cannot register " + libraryPath);
}

std::uint32_t RegisterActive(const std::string& clsid, const ObjectRef& object) {
    InitializeApartment();
    GUID guid = RequireGuid(clsid);
    IDispatch* dispatch = DispatchOfObject(object);
    DWORD registration = 0;
    HRESULT hr = ::RegisterActiveObject(dispatch, guid, ACTIVEOBJECT_STRONG, &registration);
    dispatch->Release();
    Check(hr, "cannot register the running object " + clsid);
    return registration;
}

void RevokeActive(std::uint32_t registration) { ::RevokeActiveObject(registration, nullptr); }

std::uint32_t RegisterFactory(const std::string& clsid, std::function<ObjectRef()> make) {
    InitializeApartment();
    GUID guid = RequireGuid(clsid);
    auto* factory = new ClassFactory(std::move(make));
    DWORD registration = 0;
    HRESULT hr = ::CoRegisterClassObject(guid, factory, CLSCTX_LOCAL_SERVER, REGCLS_SINGLEUSE,
                                         &registration);
    factory->Release();
    Check(hr, "cannot register the class " + clsid);
    return registration;
}

void RevokeFactory(std::uint32_t registration) { ::CoRevokeClassObject(registration); }

}  // namespace automation::com
