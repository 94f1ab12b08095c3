#pragma once

#include <windows.h>

#include <functional>

/// Keeps the process's multithreaded apartment alive from now on. Objects that other processes call live there: were
/// the apartment to end while one of those calls is still inside it, or on its way out, COM would wait for itself.
/// Nobody can tell when the last call has left COM's own code, so the apartment is kept to the end of the process.
HRESULT KeepMultithreadedApartment();

/// Runs `body` in the process's multithreaded apartment and returns when it is done: on this thread if it belongs
/// there, or belongs nowhere; otherwise on a thread of its own. What `body` throws is lost.
///
/// Objects that are handed out from here are called on COM's own threads, whatever the apartment of the application's
/// thread, and whether or not that thread ever waits for messages. REQUIRES: KeepMultithreadedApartment.
void RunInMultithreadedApartment(const std::function<void()>& body);
