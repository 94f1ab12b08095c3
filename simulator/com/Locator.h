#pragma once

#include "com/ComObject.h"
#include "com/ServerLock.h"
#include "phone/Phone.h"

namespace vorlansim
{

/// The entry point: every look-up begins a session.
class CLocator : public CComObject<IVorlanLocator>
{
  public:
    explicit CLocator(CPhone& phone) : m_phone(phone) {}

    HRESULT STDMETHODCALLTYPE FindDevice(ULONG kind, BSTR selector, IUnknown** object) override;
    HRESULT STDMETHODCALLTYPE Find(ULONG kind, IUnknown** object) override;

  private:
    ~CLocator() override = default;

    HRESULT Look(ULONG kind, const std::string& selector, IUnknown** object);

    const CServerLock m_lock;
    CPhone& m_phone;
};

}  // namespace vorlansim
