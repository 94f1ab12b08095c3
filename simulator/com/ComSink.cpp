#include "com/ComSink.h"

#include "com/ComObject.h"
#include "com/Reference.h"
#include "com/Variant.h"

#include <algorithm>
#include <array>

namespace vorlansim
{
namespace
{

/// Results of a call to a client whose process or object does not exist any more.
bool IsGone(HRESULT result)
{
    static const std::array<HRESULT, 7> results{RPC_E_DISCONNECTED,
                                                RPC_E_SERVER_DIED,
                                                RPC_E_SERVER_DIED_DNE,
                                                CO_E_OBJNOTCONNECTED,
                                                HRESULT_FROM_WIN32(RPC_S_SERVER_UNAVAILABLE),
                                                HRESULT_FROM_WIN32(RPC_S_CALL_FAILED),
                                                HRESULT_FROM_WIN32(RPC_S_CALL_FAILED_DNE)};
    return std::find(results.begin(), results.end(), result) != results.end();
}

/// Events may be delivered on any thread of the phone.
class CApartment
{
  public:
    CApartment() : m_result(CoInitializeEx(nullptr, COINIT_MULTITHREADED)) {}
    ~CApartment()
    {
        if (SUCCEEDED(m_result))
            CoUninitialize();
    }
    CApartment(const CApartment&) = delete;
    CApartment& operator=(const CApartment&) = delete;

  private:
    const HRESULT m_result;
};

HRESULT Call(IVorlanServiceEvents& sink, const Event& event)
{
    if (event.kind == Event::Kind::Connection)
        return sink.OnConnectionEvent();
    CVariant message(event.bytes);
    return sink.OnMessageReceived(event.resource, message.Get());
}

HRESULT Call(IVorlanServiceEvents2& sink, const Event& event)
{
    CVariant message(event.bytes);
    return sink.OnRawMessageReceived(message.Get());
}

template <typename Interface>
class CComSink : public IEventSink
{
  public:
    explicit CComSink(CReference<Interface> sink) : m_sink(std::move(sink)) {}

    Result Deliver(const Event& event, bool& gone) override
    {
        const CApartment apartment;
        const HRESULT result = Guarded([&] { return Call(*m_sink.Get(), event); });
        gone = IsGone(result);
        return static_cast<Result>(result);
    }

  private:
    const CReference<Interface> m_sink;
};

template <typename Interface>
std::shared_ptr<IEventSink> MakeSink(IUnknown& object)
{
    void* found = nullptr;
    if (FAILED(object.QueryInterface(__uuidof(Interface), &found)))
        return nullptr;
    return std::make_shared<CComSink<Interface>>(CReference<Interface>(static_cast<Interface*>(found)));
}

}  // namespace

const IID& EventsIid(Events which)
{
    return which == Events::First ? IID_IVorlanServiceEvents : IID_IVorlanServiceEvents2;
}

std::shared_ptr<IEventSink> MakeComSink(Events which, IUnknown& object)
{
    return which == Events::First ? MakeSink<IVorlanServiceEvents>(object) : MakeSink<IVorlanServiceEvents2>(object);
}

}  // namespace vorlansim
