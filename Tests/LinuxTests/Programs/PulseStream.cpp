// A PulseAudio client that keeps one recording stream open, for tests.
// Usage: pulse-stream recording|level-meter [SOURCE]
// Reads "cork" and "uncork" from its input, and ends with it.
#include <pulse/pulseaudio.h>

#include <cstdio>
#include <cstring>
#include <string_view>
#include <unistd.h>

namespace {

struct Client {
    pa_mainloop* loop = nullptr;
    pa_stream* stream = nullptr;
    const char* source = nullptr;
    bool isLevelMeter = false;
    bool isCorkWanted = false;
};

/// Takes effect once the stream is ready; until then it is remembered.
void obeyCork(pa_stream* stream, void* userData) {
    const auto& client = *static_cast<Client*>(userData);
    if (pa_stream_get_state(stream) == PA_STREAM_READY) {
        if (pa_operation* const operation =
                pa_stream_cork(stream, client.isCorkWanted ? 1 : 0, nullptr, nullptr)) {
            pa_operation_unref(operation);
        }
    }
}

void dropData(pa_stream* stream, std::size_t /*bytes*/, void* /*client*/) {
    const void* data = nullptr;
    std::size_t size = 0;
    while (pa_stream_readable_size(stream) > 0 && pa_stream_peek(stream, &data, &size) == 0 &&
           size > 0) {
        pa_stream_drop(stream);
    }
}

void record(pa_context* context, Client& client) {
    const pa_sample_spec format{PA_SAMPLE_FLOAT32, client.isLevelMeter ? 25U : 48000U, 1};
    client.stream = pa_stream_new(context, "test stream", &format, nullptr);
    pa_stream_set_state_callback(client.stream, obeyCork, &client);
    pa_stream_set_read_callback(client.stream, dropData, &client);
    pa_buffer_attr buffer;
    std::memset(&buffer, 0xff, sizeof buffer);
    buffer.fragsize = client.isLevelMeter ? sizeof(float) : 4800;
    const int flags = client.isLevelMeter
                          ? PA_STREAM_PEAK_DETECT | PA_STREAM_ADJUST_LATENCY | PA_STREAM_DONT_MOVE
                          : PA_STREAM_ADJUST_LATENCY;
    pa_stream_connect_record(
        client.stream, client.source, &buffer, static_cast<pa_stream_flags_t>(flags));
}

void stateChanged(pa_context* context, void* userData) {
    auto& client = *static_cast<Client*>(userData);
    const pa_context_state_t state = pa_context_get_state(context);
    if (state == PA_CONTEXT_READY) {
        record(context, client);
    } else if (!PA_CONTEXT_IS_GOOD(state)) {
        pa_mainloop_quit(client.loop, 1);
    }
}

void readOrder(
    pa_mainloop_api* /*api*/, pa_io_event* /*event*/, int input, pa_io_event_flags_t /*flags*/,
    void* userData) {
    auto& client = *static_cast<Client*>(userData);
    char text[64];
    const ssize_t length = read(input, text, sizeof text);
    if (length <= 0) {
        pa_mainloop_quit(client.loop, 0);
        return;
    }
    client.isCorkWanted = std::string_view{text, static_cast<std::size_t>(length)} == "cork\n";
    if (client.stream != nullptr) {
        obeyCork(client.stream, &client);
    }
}

} // namespace

int main(int count, char** arguments) {
    if (count < 2) {
        std::fputs("usage: pulse-stream recording|level-meter [SOURCE]\n", stderr);
        return 2;
    }
    Client client;
    client.loop = pa_mainloop_new();
    client.isLevelMeter = std::string_view{arguments[1]} == "level-meter";
    client.source = count > 2 ? arguments[2] : nullptr;
    pa_mainloop_api* const api = pa_mainloop_get_api(client.loop);
    api->io_new(api, STDIN_FILENO, PA_IO_EVENT_INPUT, readOrder, &client);
    pa_context* const context = pa_context_new(api, "pulse-stream");
    pa_context_set_state_callback(context, stateChanged, &client);
    pa_context_connect(context, nullptr, PA_CONTEXT_NOFLAGS, nullptr);
    int status = 0;
    pa_mainloop_run(client.loop, &status);
    return status;
}
