#include "support/FakeLinkService.h"

#include "connection/ByteArray.h"

#include <algorithm>
#include <ocidl.h>
#include <olectl.h>

namespace
{

using Bytes = FakeLinkService::Bytes;

Bytes BytesOf(const VARIANT& variant)
{
    const CByteArrayView bytes(&variant);
    return {bytes.Data(), bytes.Data() + bytes.Size()};
}

std::string TextOf(BSTR text)
{
    if (text == nullptr)
        return "null";
    std::string out = "\"";
    std::transform(text, text + SysStringLen(text), std::back_inserter(out),
                   [](wchar_t unit) { return static_cast<char>(unit); });
    return out + '"';
}

template <typename... Values>
std::string Join(const std::string& first, Values... values)
{
    std::string out = first;
    ((out += ' ' + std::to_string(values)), ...);
    return out;
}

}  // namespace

void StoreBytes(VARIANT& variant, const Bytes& bytes)
{
    VariantClear(&variant);
    variant.vt = VT_ARRAY | VT_UI1;
    variant.parray = SafeArrayCreateVector(VT_UI1, 0, static_cast<ULONG>(bytes.size()));
    std::copy(bytes.begin(), bytes.end(), static_cast<std::uint8_t*>(variant.parray->pvData));
}

template <typename Entry>
void FakeLinkService::Record(std::vector<Entry>& list, Entry entry)
{
    const std::scoped_lock guard(m_lock);
    if (m_records)
        list.push_back(std::move(entry));
}

/// The service's COM objects.
class FakeParts
{
  public:
    /// An object with these interfaces. It begins with one reference.
    template <typename First, typename... Others>
    class Object : public First, public Others...
    {
      public:
        explicit Object(FakeLinkService& service) : m_service(service) { ++service.m_liveObjects; }
        Object(const Object&) = delete;
        Object& operator=(const Object&) = delete;

        HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void** object) override
        {
            *object = nullptr;
            const std::string step = QueryStep(id);
            if (!step.empty())
                if (const HRESULT result = m_service.Take(step); FAILED(result) || m_service.IsNull(step))
                    return result;
            if (IsEqualIID(id, __uuidof(IUnknown)) || IsEqualIID(id, __uuidof(First)))
                *object = static_cast<First*>(this);
            ((IsEqualIID(id, __uuidof(Others)) ? void(*object = static_cast<Others*>(this)) : void()), ...);
            if (*object == nullptr)
                return E_NOINTERFACE;
            AddRef();
            return S_OK;
        }
        ULONG STDMETHODCALLTYPE AddRef() override { return ++m_references; }
        ULONG STDMETHODCALLTYPE Release() override
        {
            const ULONG left = --m_references;
            if (left == 0)
                delete this;
            return left;
        }

        IUnknown* Identity() { return static_cast<First*>(this); }

      protected:
        virtual ~Object() { --m_service.m_liveObjects; }
        /// The name of the step that a query for this interface is; empty for one that is no step.
        virtual std::string QueryStep(REFIID) const { return {}; }

        HRESULT Take(const std::string& step, const std::string& call = {}) { return m_service.Take(step, call); }

        /// Hands out a new object, unless the step fails or gives null.
        template <typename Part, typename Out, typename... Arguments>
        HRESULT Give(const std::string& step, const std::string& call, Out** object, Arguments... arguments)
        {
            *object = nullptr;
            const HRESULT result = Take(step, call);
            if (SUCCEEDED(result) && !m_service.IsNull(step))
                *object = (new Part(m_service, arguments...))->Out();
            return result;
        }

        FakeLinkService& m_service;

      private:
        std::atomic<ULONG> m_references = 1;
    };

    class Point final : public Object<IConnectionPoint>
    {
      public:
        Point(FakeLinkService& service, int number) : Object(service), m_number(number) {}

        IConnectionPoint* Out() { return this; }

        HRESULT STDMETHODCALLTYPE Advise(IUnknown* sink, DWORD* cookie) override
        {
            const HRESULT result = Take(Name("Advise"), Name("Advise"));
            if (FAILED(result))
                return result;
            void* events = nullptr;
            const HRESULT queried = sink->QueryInterface(
                m_number == 1 ? __uuidof(IVorlanServiceEvents) : __uuidof(IVorlanServiceEvents2), &events);
            if (FAILED(queried))
                return queried;
            const std::scoped_lock guard(m_service.m_lock);
            *cookie = m_service.m_nextCookie++;
            Sinks()[*cookie] = static_cast<IUnknown*>(events);
            return result;
        }

        HRESULT STDMETHODCALLTYPE Unadvise(DWORD cookie) override
        {
            const HRESULT result = Take(Name("Unadvise"), Join(Name("Unadvise"), cookie));
            IUnknown* sink = nullptr;
            {
                const std::scoped_lock guard(m_service.m_lock);
                const auto found = Sinks().find(cookie);
                if (found == Sinks().end())
                    return FAILED(result) ? result : CONNECT_E_NOCONNECTION;
                sink = found->second;
                Sinks().erase(found);
            }
            sink->Release();
            return result;
        }

        HRESULT STDMETHODCALLTYPE GetConnectionInterface(IID*) override { return E_NOTIMPL; }
        HRESULT STDMETHODCALLTYPE GetConnectionPointContainer(IConnectionPointContainer**) override
        {
            return E_NOTIMPL;
        }
        HRESULT STDMETHODCALLTYPE EnumConnections(IEnumConnections**) override { return E_NOTIMPL; }

      private:
        std::string Name(const char* step) const { return step + std::to_string(m_number); }
        std::map<DWORD, IUnknown*>& Sinks() { return m_service.m_sinks[m_number - 1]; }

        int m_number;
    };

    class Service final : public Object<IVorlanService2, IConnectionPointContainer>
    {
      public:
        using Object::Object;

        IUnknown* Out() { return Identity(); }

        HRESULT STDMETHODCALLTYPE GetAccess(unsigned char* access) override
        {
            *access = m_service.m_access;
            return Take("GetAccess", "GetAccess");
        }

        HRESULT STDMETHODCALLTYPE Send(unsigned char resource, VARIANT* message, VARIANT_BOOL wait, VARIANT expected,
                                       ULONG timeoutMs) override
        {
            m_service.Record(m_service.m_sent,
                             {resource, BytesOf(*message), wait, expected.vt, BytesOf(expected), timeoutMs});
            const HRESULT result = Take("Send");
            return FAILED(result) ? result : m_service.AnswerTo(resource, *message, wait != VARIANT_FALSE);
        }

        HRESULT STDMETHODCALLTYPE SendRaw(VARIANT bytes) override
        {
            m_service.Record(m_service.m_raw, BytesOf(bytes));
            return Take("SendRaw");
        }

        HRESULT STDMETHODCALLTYPE SelectDeviceRange(ULONG range) override
        {
            return Take("SelectRange", Join("SelectRange", range));
        }

        HRESULT STDMETHODCALLTYPE FindConnectionPoint(REFIID id, IConnectionPoint** point) override
        {
            const int number = IsEqualIID(id, __uuidof(IVorlanServiceEvents)) ? 1 : 2;
            return Give<Point>("FindPoint" + std::to_string(number), {}, point, number);
        }
        HRESULT STDMETHODCALLTYPE EnumConnectionPoints(IEnumConnectionPoints**) override { return E_NOTIMPL; }

      private:
        std::string QueryStep(REFIID id) const override
        {
            if (IsEqualIID(id, __uuidof(IVorlanService2)))
                return "QueryService";
            return IsEqualIID(id, __uuidof(IConnectionPointContainer)) ? "QueryContainer" : "";
        }
    };

    /// The device, and the broker that hands out another one.
    class Device final : public Object<IVorlanDevice, IVorlanDeviceBroker>
    {
      public:
        Device(FakeLinkService& service, bool brokered) : Object(service), m_brokered(brokered) {}

        IUnknown* Out() { return Identity(); }

        HRESULT STDMETHODCALLTYPE OpenBySerialNumber(BSTR serial, ULONG index, ULONG flags, ULONG reserved1,
                                                     ULONG reserved2) override
        {
            return Take("OpenBySerialNumber",
                        Join(Prefix() + "OpenBySerialNumber " + TextOf(serial), index, flags, reserved1, reserved2));
        }
        HRESULT STDMETHODCALLTYPE OpenById(ULONG id, ULONG reserved) override
        {
            return Take("OpenById", Join(Prefix() + "OpenById", id, reserved));
        }
        HRESULT STDMETHODCALLTYPE Reserved() override { return E_NOTIMPL; }
        HRESULT STDMETHODCALLTYPE Connect(IUnknown** service) override
        {
            return Give<Service>("Connect", "Connect", service);
        }

        HRESULT STDMETHODCALLTYPE Reserved1() override { return E_NOTIMPL; }
        HRESULT STDMETHODCALLTYPE Reserved2() override { return E_NOTIMPL; }
        HRESULT STDMETHODCALLTYPE GetDevice(ULONG kind, GUID* id, IUnknown** device) override
        {
            const bool isDevice = IsEqualIID(*id, __uuidof(IVorlanDevice));
            return Give<Device>("GetDevice", Join("GetDevice", kind) + (isDevice ? " device" : " other"), device, true);
        }

      private:
        std::string Prefix() const { return m_brokered ? "Brokered." : ""; }

        std::string QueryStep(REFIID id) const override
        {
            if (IsEqualIID(id, __uuidof(IVorlanDevice)))
                return m_brokered ? "QueryBrokered" : "QueryDevice";
            return IsEqualIID(id, __uuidof(IVorlanDeviceBroker)) ? "QueryBroker" : "";
        }

        bool m_brokered;
    };

    class Locator final : public Object<IVorlanLocator>
    {
      public:
        using Object::Object;

        HRESULT STDMETHODCALLTYPE FindDevice(ULONG kind, BSTR selector, IUnknown** object) override
        {
            return Give<Device>("FindDevice", Join("FindDevice", kind) + ' ' + TextOf(selector), object, false);
        }
        HRESULT STDMETHODCALLTYPE Find(ULONG kind, IUnknown** object) override
        {
            return Give<Device>("Find", Join("Find", kind), object, false);
        }
    };

    class Factory final : public Object<IClassFactory>
    {
      public:
        using Object::Object;

        HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown*, REFIID id, void** object) override
        {
            *object = nullptr;
            if (const HRESULT result = Take("CreateLocator"); FAILED(result))
                return result;
            auto* locator = new Locator(m_service);
            const HRESULT result = locator->QueryInterface(id, object);
            locator->Release();
            return result;
        }
        HRESULT STDMETHODCALLTYPE LockServer(BOOL) override { return S_OK; }
    };
};

FakeLinkService::FakeLinkService(DWORD context)
{
    Reset();
    auto* factory = new FakeParts::Factory(*this);
    CoRegisterClassObject(CLSID_VorlanLocator, factory->Identity(), context, REGCLS_MULTIPLEUSE, &m_classCookie);
    factory->Release();
    m_liveObjects = 0;  // The factory is the fake's own.
}

FakeLinkService::~FakeLinkService()
{
    CoRevokeClassObject(m_classCookie);
}

void FakeLinkService::Reset()
{
    const std::scoped_lock guard(m_lock);
    m_results.clear();
    m_nulls = {"QueryBroker"};
    m_hooks.clear();
    m_answers.clear();
    m_calls.clear();
    m_sent.clear();
    m_raw.clear();
    m_offersBroker = false;
}

void FakeLinkService::Returns(const std::string& step, HRESULT result)
{
    const std::scoped_lock guard(m_lock);
    m_results[step] = result;
}

void FakeLinkService::GivesNull(const std::string& step)
{
    const std::scoped_lock guard(m_lock);
    m_nulls.insert(step);
}

void FakeLinkService::Before(const std::string& step, std::function<void()> hook)
{
    const std::scoped_lock guard(m_lock);
    m_hooks[step] = std::move(hook);
}

void FakeLinkService::Answer(std::uint8_t resource, std::uint8_t id, const Bytes& reply)
{
    Answer(resource, id, [reply](VARIANT& message) {
        StoreBytes(message, reply);
        return S_OK;
    });
}

void FakeLinkService::Answer(std::uint8_t resource, std::uint8_t id, Answerer answerer)
{
    const std::scoped_lock guard(m_lock);
    m_answers[{resource, id}] = std::move(answerer);
}

void FakeLinkService::AnswerVersion(std::uint8_t resource, std::uint8_t major, std::uint8_t minor)
{
    Answer(resource, 0xF0, Bytes{0xF0, 1, major, minor});
}

std::vector<std::string> FakeLinkService::TakeCalls()
{
    const std::scoped_lock guard(m_lock);
    return std::exchange(m_calls, {});
}

std::vector<FakeLinkService::Sent> FakeLinkService::TakeSent()
{
    const std::scoped_lock guard(m_lock);
    return std::exchange(m_sent, {});
}

std::vector<Bytes> FakeLinkService::TakeRaw()
{
    const std::scoped_lock guard(m_lock);
    return std::exchange(m_raw, {});
}

HRESULT FakeLinkService::Take(const std::string& step, const std::string& call)
{
    std::function<void()> hook;
    HRESULT result = S_OK;
    {
        const std::scoped_lock guard(m_lock);
        if (!call.empty() && m_records)
            m_calls.push_back(call);
        if (const auto found = m_hooks.find(step); found != m_hooks.end())
            hook = found->second;
        if (const auto found = m_results.find(step); found != m_results.end())
            result = found->second;
    }
    if (hook)
        hook();
    return result;
}

bool FakeLinkService::IsNull(const std::string& step) const
{
    const std::scoped_lock guard(m_lock);
    return m_nulls.count(step) != 0 && !(step == "QueryBroker" && m_offersBroker);
}

HRESULT FakeLinkService::AnswerTo(std::uint8_t resource, VARIANT& message, bool wait)
{
    const Bytes bytes = BytesOf(message);
    Answerer answerer;
    {
        const std::scoped_lock guard(m_lock);
        if (const auto found = m_answers.find({resource, bytes.empty() ? std::uint8_t{0} : bytes[0]});
            found != m_answers.end())
            answerer = found->second;
    }
    if (answerer)
        return answerer(message);
    return wait ? kNoAnswer : S_OK;
}

std::vector<IUnknown*> FakeLinkService::ReferencedSinks(int point) const
{
    const std::scoped_lock guard(m_lock);
    std::vector<IUnknown*> sinks;
    for (const auto& [cookie, sink] : m_sinks[point - 1])
    {
        sink->AddRef();
        sinks.push_back(sink);
    }
    return sinks;
}

template <typename Interface, typename Event>
void FakeLinkService::Raise(int point, Event&& event)
{
    for (IUnknown* sink : ReferencedSinks(point))
    {
        event(*static_cast<Interface*>(sink));
        sink->Release();
    }
}

void FakeLinkService::RaiseMessage(std::uint8_t resource, const Bytes& message)
{
    CByteArrayVariant bytes;
    StoreBytes(*bytes.Get(), message);
    Raise<IVorlanServiceEvents>(1, [&](auto& sink) { sink.OnMessageReceived(resource, bytes.Get()); });
}

void FakeLinkService::RaiseRawMessage(const Bytes& message)
{
    CByteArrayVariant bytes;
    StoreBytes(*bytes.Get(), message);
    Raise<IVorlanServiceEvents2>(2, [&](auto& sink) { sink.OnRawMessageReceived(bytes.Get()); });
}

void FakeLinkService::RaiseConnectionEvent()
{
    Raise<IVorlanServiceEvents>(1, [](auto& sink) { sink.OnConnectionEvent(); });
}

void FakeLinkService::DropSinks()
{
    const std::scoped_lock guard(m_lock);
    for (auto& sinks : m_sinks)
        for (const auto& [cookie, sink] : std::exchange(sinks, {}))
            sink->Release();
}

std::size_t FakeLinkService::AdvisedSinks() const
{
    const std::scoped_lock guard(m_lock);
    return m_sinks[0].size() + m_sinks[1].size();
}
