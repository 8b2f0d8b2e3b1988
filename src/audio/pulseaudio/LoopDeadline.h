#pragma once

#include "PulseConnection.h"

// Holds the threaded loop's lock for one scope. libpulse's lock is recursive.
class LoopLock {
public:
    explicit LoopLock(pa_threaded_mainloop* loop) : m_loop(loop) {
        pa_threaded_mainloop_lock(m_loop);
    }
    ~LoopLock() { pa_threaded_mainloop_unlock(m_loop); }
    LoopLock(const LoopLock&) = delete;
    LoopLock& operator=(const LoopLock&) = delete;

private:
    pa_threaded_mainloop* m_loop;
};

// Ends a wait on libpulse's threaded loop at a point in time, when the server neither answers
// nor goes away. Lives while the loop's lock is held.
class LoopDeadline {
public:
    LoopDeadline(PulseConnection* connection, pa_context* context, pa_threaded_mainloop* loop,
                 PulseConnection::Clock::time_point at);
    ~LoopDeadline();
    LoopDeadline(const LoopDeadline&) = delete;
    LoopDeadline& operator=(const LoopDeadline&) = delete;

    bool passed() const { return m_request.done; }

private:
    PulseConnection::Request m_request;
    pa_mainloop_api* m_api;
    pa_time_event* m_timer = nullptr;
};
