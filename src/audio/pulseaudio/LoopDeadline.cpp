#include "LoopDeadline.h"

#include <pulse/rtclock.h>

#include <algorithm>

namespace {

void onTimeout(pa_mainloop_api*, pa_time_event*, const struct timeval*, void* request) {
    static_cast<PulseConnection::Request*>(request)->finish(false);
}

} // namespace

LoopDeadline::LoopDeadline(PulseConnection* connection, pa_context* context,
                           pa_threaded_mainloop* loop, PulseConnection::Clock::time_point at)
    : m_request{connection}, m_api(pa_threaded_mainloop_get_api(loop)) {
    const auto left =
        std::max(PulseConnection::Clock::duration::zero(), at - PulseConnection::Clock::now());
    const auto micros = std::chrono::duration_cast<std::chrono::microseconds>(left).count();
    m_timer = pa_context_rttime_new(context, pa_rtclock_now() + static_cast<pa_usec_t>(micros),
                                    onTimeout, &m_request);
}

LoopDeadline::~LoopDeadline() {
    if (m_timer)
        m_api->time_free(m_timer);
}
