#pragma once

#include "message/Platform.h"

#include <unknwn.h>
#include <utility>

/// Owns one reference to a COM object.
template <typename Interface>
class CComRef
{
  public:
    CComRef() = default;
    CComRef(CComRef&& other) noexcept : m_pointer(std::exchange(other.m_pointer, nullptr)) {}
    CComRef& operator=(CComRef&& other) noexcept
    {
        if (this != &other)
        {
            Release();
            m_pointer = std::exchange(other.m_pointer, nullptr);
        }
        return *this;
    }
    CComRef(const CComRef&) = delete;
    CComRef& operator=(const CComRef&) = delete;
    ~CComRef() { Release(); }

    Interface* Get() const { return m_pointer; }
    Interface* operator->() const { return m_pointer; }
    explicit operator bool() const { return m_pointer != nullptr; }

    void Release()
    {
        if (m_pointer != nullptr && IsReadable(m_pointer))
            m_pointer->Release();
        m_pointer = nullptr;
    }

    /// Another reference to the same object.
    CComRef Copy() const
    {
        CComRef copy;
        copy.m_pointer = m_pointer;
        if (m_pointer != nullptr)
            m_pointer->AddRef();
        return copy;
    }

    /// Gives the reference up without releasing it.
    void Forget() { m_pointer = nullptr; }

    /// Where a call stores a new reference; the old one is released.
    Interface** Put()
    {
        Release();
        return &m_pointer;
    }

    /// E_NOINTERFACE also where there is no object.
    template <typename Other>
    HRESULT QueryInto(CComRef<Other>& target) const
    {
        if (m_pointer == nullptr)
            return E_NOINTERFACE;
        return m_pointer->QueryInterface(__uuidof(Other), reinterpret_cast<void**>(target.Put()));
    }

  private:
    Interface* m_pointer = nullptr;
};
