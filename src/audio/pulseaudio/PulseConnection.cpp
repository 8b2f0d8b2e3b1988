#include "PulseConnection.h"

#include "LoopDeadline.h"

#include <algorithm>
#include <utility>

namespace {

std::string text(const char* value) {
    return value ? std::string(value) : std::string();
}

std::map<std::string, std::string> properties(const pa_proplist* list) {
    std::map<std::string, std::string> result;
    void* state = nullptr;
    while (const char* key = pa_proplist_iterate(list, &state)) {
        if (const char* value = pa_proplist_gets(list, key))
            result[key] = value;
    }
    return result;
}

PulseConnection::Sink sinkFrom(const pa_sink_info& info) {
    PulseConnection::Sink sink;
    sink.index = info.index;
    sink.name = text(info.name);
    sink.description = text(info.description);
    sink.properties = properties(info.proplist);
    for (std::uint32_t i = 0; i < info.n_ports; ++i) {
        if (info.ports && info.ports[i] && info.ports[i]->name)
            sink.portNames.emplace_back(info.ports[i]->name);
    }
    sink.volume = info.volume;
    sink.mute = info.mute != 0;
    sink.rate = info.sample_spec.rate;
    sink.channels = info.sample_spec.channels;
    sink.ownerModule = info.owner_module;
    sink.suspended = info.state == PA_SINK_SUSPENDED;
    return sink;
}

template <class T> struct Answer : PulseConnection::Request { T result{}; };

void finishSuccess(pa_context*, int success, void* request) {
    static_cast<PulseConnection::Request*>(request)->finish(success != 0);
}

} // namespace

void PulseConnection::Request::finish(bool success) {
    done = true;
    ok = success;
    pa_threaded_mainloop_signal(connection->m_loop, 0);
}

PulseConnection::PulseConnection(std::function<void(Event)> onEvent,
                                 std::chrono::milliseconds timeout)
    : m_onEvent(std::move(onEvent)), m_timeout(timeout) {
    m_loop = pa_threaded_mainloop_new();
    pa_threaded_mainloop_set_name(m_loop, "brivello-pulse");
    pa_threaded_mainloop_start(m_loop);
}

PulseConnection::~PulseConnection() {
    {
        LoopLock lock(m_loop);
        dropContext();
    }
    pa_threaded_mainloop_stop(m_loop);
    pa_threaded_mainloop_free(m_loop);
}

PulseConnection::Budget::Budget(PulseConnection& connection, std::chrono::milliseconds limit)
    : m_connection(connection), m_outermost(!connection.m_budgetDeadline) {
    if (m_outermost)
        m_connection.m_budgetDeadline = Clock::now() + limit;
}

PulseConnection::Budget::~Budget() {
    if (m_outermost)
        m_connection.m_budgetDeadline.reset();
}

void PulseConnection::limitAllUntil(Clock::time_point deadline) {
    m_finalDeadline = deadline;
}

PulseConnection::Clock::time_point PulseConnection::requestDeadline() const {
    auto deadline = m_budgetDeadline.value_or(Clock::now() + m_timeout);
    if (m_finalDeadline)
        deadline = std::min(deadline, *m_finalDeadline);
    return deadline;
}

bool PulseConnection::connect(std::chrono::milliseconds timeout) {
    LoopLock lock(m_loop);
    if (!openContext(false))
        return false;
    pa_context_state_t state = pa_context_get_state(m_context);
    {
        const LoopDeadline deadline(this, m_context, m_loop, Clock::now() + timeout);
        while (!deadline.passed() && state != PA_CONTEXT_READY && PA_CONTEXT_IS_GOOD(state)) {
            pa_threaded_mainloop_wait(m_loop);
            state = pa_context_get_state(m_context);
        }
    }
    if (state == PA_CONTEXT_READY)
        return true;
    if (PA_CONTEXT_IS_GOOD(state)) {
        // A server that accepted the socket but has not answered yet (a stopped one does that)
        // is not waited for any longer; it is announced once it answers.
        m_announceReady = true;
        return false;
    }
    dropContext();
    return false;
}

bool PulseConnection::startConnecting() {
    LoopLock lock(m_loop);
    return openContext(true);
}

bool PulseConnection::openContext(bool announceReady) {
    dropContext();
    m_context = pa_context_new(pa_threaded_mainloop_get_api(m_loop), "Brivello");
    if (!m_context)
        return false;
    m_announceReady = announceReady;
    pa_context_set_state_callback(m_context, &PulseConnection::onState, this);
    pa_context_set_subscribe_callback(m_context, &PulseConnection::onSubscription, this);
    if (pa_context_connect(m_context, nullptr, PA_CONTEXT_NOAUTOSPAWN, nullptr) < 0) {
        dropContext();
        return false;
    }
    return true;
}

void PulseConnection::disconnect() {
    LoopLock lock(m_loop);
    dropContext();
}

bool PulseConnection::isConnected() {
    LoopLock lock(m_loop);
    return m_context && pa_context_get_state(m_context) == PA_CONTEXT_READY;
}

bool PulseConnection::isConnecting() {
    LoopLock lock(m_loop);
    if (!m_context)
        return false;
    const auto state = pa_context_get_state(m_context);
    return PA_CONTEXT_IS_GOOD(state) && state != PA_CONTEXT_READY;
}

void PulseConnection::dropContext() {
    if (!m_context)
        return;
    m_wasReady = false; // a connection we end ourselves is not reported as lost
    pa_context_set_state_callback(m_context, nullptr, nullptr);
    pa_context_set_subscribe_callback(m_context, nullptr, nullptr);
    pa_context_disconnect(m_context);
    pa_context_unref(m_context);
    m_context = nullptr;
}

void PulseConnection::loseConnection() {
    dropContext();
    m_onEvent(Event::lost);
}

void PulseConnection::onState(pa_context* context, void* self) {
    auto* connection = static_cast<PulseConnection*>(self);
    const auto state = pa_context_get_state(context);
    if (state == PA_CONTEXT_READY) {
        connection->m_wasReady = true;
        const auto mask = static_cast<pa_subscription_mask_t>(PA_SUBSCRIPTION_MASK_SINK |
                                                              PA_SUBSCRIPTION_MASK_SERVER |
                                                              PA_SUBSCRIPTION_MASK_SINK_INPUT);
        if (auto* op = pa_context_subscribe(context, mask, nullptr, nullptr))
            pa_operation_unref(op);
        if (connection->m_announceReady)
            connection->m_onEvent(Event::connected);
    } else if (!PA_CONTEXT_IS_GOOD(state) && connection->m_wasReady) {
        connection->m_wasReady = false;
        connection->m_onEvent(Event::lost);
    }
    pa_threaded_mainloop_signal(connection->m_loop, 0);
}

void PulseConnection::onSubscription(pa_context*, pa_subscription_event_type_t type, std::uint32_t,
                                     void* self) {
    const auto facility = type & PA_SUBSCRIPTION_EVENT_FACILITY_MASK;
    const auto kind = type & PA_SUBSCRIPTION_EVENT_TYPE_MASK;
    auto* connection = static_cast<PulseConnection*>(self);
    if (facility == PA_SUBSCRIPTION_EVENT_SINK_INPUT)
        connection->m_onEvent(Event::streams);
    else if (facility == PA_SUBSCRIPTION_EVENT_SINK && kind == PA_SUBSCRIPTION_EVENT_CHANGE)
        connection->m_onEvent(Event::volumes);
    else
        connection->m_onEvent(Event::devices);
}

template <class Issue> bool PulseConnection::await(Request& request, Issue issue) {
    if (!m_context || pa_context_get_state(m_context) != PA_CONTEXT_READY)
        return false;
    const auto deadline = requestDeadline();
    if (Clock::now() >= deadline) {
        loseConnection();
        return false;
    }
    request.connection = this;
    pa_operation* op = issue();
    if (!op)
        return false;
    bool timedOut = false;
    {
        const LoopDeadline timer(this, m_context, m_loop, deadline);
        while (!request.done && pa_context_get_state(m_context) == PA_CONTEXT_READY) {
            if (timer.passed()) {
                timedOut = true;
                break;
            }
            pa_threaded_mainloop_wait(m_loop);
        }
    }
    // A cancelled operation never calls back, so `request` may go out of scope afterwards.
    if (!request.done)
        pa_operation_cancel(op);
    pa_operation_unref(op);
    if (timedOut)
        loseConnection();
    return request.done && request.ok;
}

std::vector<PulseConnection::Sink> PulseConnection::sinks() {
    LoopLock lock(m_loop);
    Answer<std::vector<Sink>> answer;
    auto onSink = [](pa_context*, const pa_sink_info* info, int eol, void* data) {
        auto* a = static_cast<Answer<std::vector<Sink>>*>(data);
        if (eol != 0)
            a->finish(eol > 0);
        else if (info)
            a->result.push_back(sinkFrom(*info));
    };
    if (!await(answer, [&] { return pa_context_get_sink_info_list(m_context, onSink, &answer); }))
        return {};
    return answer.result;
}

std::optional<PulseConnection::Sink> PulseConnection::sink(const std::string& name) {
    LoopLock lock(m_loop);
    Answer<std::optional<Sink>> answer;
    auto onSink = [](pa_context*, const pa_sink_info* info, int eol, void* data) {
        auto* a = static_cast<Answer<std::optional<Sink>>*>(data);
        if (eol != 0)
            a->finish(eol > 0);
        else if (info)
            a->result = sinkFrom(*info);
    };
    if (!await(answer, [&] {
            return pa_context_get_sink_info_by_name(m_context, name.c_str(), onSink, &answer);
        }))
        return std::nullopt;
    return answer.result;
}

std::optional<std::string> PulseConnection::defaultSinkName() {
    LoopLock lock(m_loop);
    Answer<std::optional<std::string>> answer;
    auto onInfo = [](pa_context*, const pa_server_info* info, void* data) {
        auto* a = static_cast<Answer<std::optional<std::string>>*>(data);
        if (info && info->default_sink_name)
            a->result = std::string(info->default_sink_name);
        a->finish(info != nullptr);
    };
    if (!await(answer, [&] { return pa_context_get_server_info(m_context, onInfo, &answer); }))
        return std::nullopt;
    return answer.result;
}

bool PulseConnection::setDefaultSink(const std::string& name) {
    LoopLock lock(m_loop);
    Request request;
    return await(request, [&] {
        return pa_context_set_default_sink(m_context, name.c_str(), finishSuccess, &request);
    });
}

bool PulseConnection::setSinkVolume(std::uint32_t index, const pa_cvolume& volume) {
    LoopLock lock(m_loop);
    Request request;
    return await(request, [&] {
        return pa_context_set_sink_volume_by_index(m_context, index, &volume, finishSuccess,
                                                   &request);
    });
}

bool PulseConnection::setSinkMute(std::uint32_t index, bool mute) {
    LoopLock lock(m_loop);
    Request request;
    return await(request, [&] {
        return pa_context_set_sink_mute_by_index(m_context, index, mute ? 1 : 0, finishSuccess,
                                                 &request);
    });
}

bool PulseConnection::suspendSink(std::uint32_t index, bool suspend) {
    LoopLock lock(m_loop);
    Request request;
    return await(request, [&] {
        return pa_context_suspend_sink_by_index(m_context, index, suspend ? 1 : 0, finishSuccess,
                                                &request);
    });
}

std::optional<std::string> PulseConnection::serverName() {
    LoopLock lock(m_loop);
    Answer<std::optional<std::string>> answer;
    auto onInfo = [](pa_context*, const pa_server_info* info, void* data) {
        auto* a = static_cast<Answer<std::optional<std::string>>*>(data);
        if (info && info->server_name)
            a->result = std::string(info->server_name);
        a->finish(info != nullptr);
    };
    if (!await(answer, [&] { return pa_context_get_server_info(m_context, onInfo, &answer); }))
        return std::nullopt;
    return answer.result;
}

std::vector<PulseConnection::Module> PulseConnection::modules() {
    LoopLock lock(m_loop);
    Answer<std::vector<Module>> answer;
    auto onModule = [](pa_context*, const pa_module_info* info, int eol, void* data) {
        auto* a = static_cast<Answer<std::vector<Module>>*>(data);
        if (eol != 0)
            a->finish(eol > 0);
        else if (info)
            a->result.push_back({info->index, text(info->name), text(info->argument)});
    };
    if (!await(answer,
               [&] { return pa_context_get_module_info_list(m_context, onModule, &answer); }))
        return {};
    return answer.result;
}

std::optional<std::uint32_t> PulseConnection::loadModule(const std::string& name,
                                                         const std::string& argument) {
    LoopLock lock(m_loop);
    Answer<std::uint32_t> answer;
    auto onLoaded = [](pa_context*, std::uint32_t index, void* data) {
        auto* a = static_cast<Answer<std::uint32_t>*>(data);
        a->result = index;
        a->finish(index != PA_INVALID_INDEX);
    };
    if (!await(answer, [&] {
            return pa_context_load_module(m_context, name.c_str(), argument.c_str(), onLoaded,
                                          &answer);
        }))
        return std::nullopt;
    return answer.result;
}

bool PulseConnection::unloadModule(std::uint32_t index) {
    LoopLock lock(m_loop);
    Request request;
    return await(request, [&] {
        return pa_context_unload_module(m_context, index, finishSuccess, &request);
    });
}

std::vector<PulseConnection::SinkInput> PulseConnection::sinkInputs() {
    LoopLock lock(m_loop);
    Answer<std::vector<SinkInput>> answer;
    auto onInput = [](pa_context*, const pa_sink_input_info* info, int eol, void* data) {
        auto* a = static_cast<Answer<std::vector<SinkInput>>*>(data);
        if (eol != 0)
            a->finish(eol > 0);
        else if (info)
            a->result.push_back({info->index, info->sink, info->owner_module, info->corked != 0});
    };
    if (!await(answer,
               [&] { return pa_context_get_sink_input_info_list(m_context, onInput, &answer); }))
        return {};
    return answer.result;
}

bool PulseConnection::moveSinkInput(std::uint32_t input, std::uint32_t sink) {
    LoopLock lock(m_loop);
    Request request;
    return await(request, [&] {
        return pa_context_move_sink_input_by_index(m_context, input, sink, finishSuccess, &request);
    });
}

int PulseConnection::lastError() {
    LoopLock lock(m_loop);
    return m_context ? pa_context_errno(m_context) : PA_ERR_CONNECTIONTERMINATED;
}
