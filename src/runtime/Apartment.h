#pragma once

#include <functional>

/// Runs `body` in the process's multithreaded apartment and returns when it is done: on this thread if it belongs
/// there, or belongs nowhere; otherwise on a thread of its own. What `body` throws is lost.
///
/// Objects that are handed out from here are called on COM's own threads, whatever the apartment of the application's
/// thread, and whether or not that thread ever waits for messages. REQUIRES: some thread keeps the apartment alive.
void RunInMultithreadedApartment(const std::function<void()>& body);
