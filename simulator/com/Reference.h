#pragma once

#include <utility>

namespace vorlansim
{

/// Owns one reference to a COM object, or none.
template <typename Object>
class CReference
{
  public:
    CReference() = default;
    /// Takes over the reference that the caller has.
    explicit CReference(Object* object) : m_object(object) {}
    CReference(CReference&& other) noexcept : m_object(std::exchange(other.m_object, nullptr)) {}
    CReference& operator=(CReference&& other) noexcept
    {
        std::swap(m_object, other.m_object);
        return *this;
    }
    CReference(const CReference&) = delete;
    CReference& operator=(const CReference&) = delete;
    ~CReference()
    {
        if (m_object != nullptr)
            m_object->Release();
    }

    /// Adds a reference of its own.
    static CReference Share(Object& object)
    {
        object.AddRef();
        return CReference(&object);
    }

    Object* Get() const { return m_object; }
    Object* operator->() const { return m_object; }
    /// Hands the reference over to the caller.
    Object* Detach() { return std::exchange(m_object, nullptr); }
    /// Where a function writes the reference that it gives. REQUIRES: none is owned.
    Object** Out() { return &m_object; }

  private:
    Object* m_object = nullptr;
};

}  // namespace vorlansim
