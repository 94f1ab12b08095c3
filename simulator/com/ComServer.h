#pragma once

#include "phone/Phone.h"

#include <windows.h>

namespace vorlansim
{

/// Offers a phone to COM clients. With CLSCTX_INPROC_SERVER the clients are those of this process.
class CComServer
{
  public:
    explicit CComServer(CPhone& phone) : m_phone(phone) {}
    ~CComServer() { Revoke(); }
    CComServer(const CComServer&) = delete;
    CComServer& operator=(const CComServer&) = delete;

    HRESULT Register(DWORD context);
    void Revoke();

  private:
    CPhone& m_phone;
    DWORD m_cookie = 0;
};

}  // namespace vorlansim
