#pragma once

// The functions of PulseAudio's client library, which PipeWire's server answers as well. It is loaded at the
// first use; only its headers take part in the build.

#include <pulse/pulseaudio.h>

#include "platform/dynamiclibrary.h"
#include "slib/nodestroy.h"

namespace platform {

/// Without a problem all functions are there.
struct PulseLibrary {
    DynamicLibrary library{"libpulse.so.0"};

    Imported<decltype(pa_threaded_mainloop_new)> newLoop{library, "pa_threaded_mainloop_new"};
    Imported<decltype(pa_threaded_mainloop_free)> freeLoop{library, "pa_threaded_mainloop_free"};
    Imported<decltype(pa_threaded_mainloop_get_api)> loopApi{library, "pa_threaded_mainloop_get_api"};
    Imported<decltype(pa_threaded_mainloop_start)> startLoop{library, "pa_threaded_mainloop_start"};
    Imported<decltype(pa_threaded_mainloop_stop)> stopLoop{library, "pa_threaded_mainloop_stop"};
    Imported<decltype(pa_threaded_mainloop_lock)> lockLoop{library, "pa_threaded_mainloop_lock"};
    Imported<decltype(pa_threaded_mainloop_unlock)> unlockLoop{library, "pa_threaded_mainloop_unlock"};
    Imported<decltype(pa_threaded_mainloop_wait)> waitLoop{library, "pa_threaded_mainloop_wait"};
    Imported<decltype(pa_threaded_mainloop_signal)> signalLoop{library, "pa_threaded_mainloop_signal"};

    Imported<decltype(pa_context_new)> newContext{library, "pa_context_new"};
    Imported<decltype(pa_context_unref)> unrefContext{library, "pa_context_unref"};
    Imported<decltype(pa_context_connect)> connect{library, "pa_context_connect"};
    Imported<decltype(pa_context_disconnect)> disconnect{library, "pa_context_disconnect"};
    Imported<decltype(pa_context_get_state)> contextState{library, "pa_context_get_state"};
    Imported<decltype(pa_context_set_state_callback)> onContextState{library,
                                                                     "pa_context_set_state_callback"};
    Imported<decltype(pa_context_set_subscribe_callback)> onEvent{library,
                                                                  "pa_context_set_subscribe_callback"};
    Imported<decltype(pa_context_subscribe)> subscribe{library, "pa_context_subscribe"};
    Imported<decltype(pa_context_get_server_info)> serverInfo{library, "pa_context_get_server_info"};
    Imported<decltype(pa_context_get_sink_info_list)> sinkInfos{library, "pa_context_get_sink_info_list"};
    Imported<decltype(pa_context_get_source_info_list)> sourceInfos{library,
                                                                    "pa_context_get_source_info_list"};
    Imported<decltype(pa_context_errno)> lastError{library, "pa_context_errno"};
    Imported<decltype(pa_strerror)> explain{library, "pa_strerror"};

    Imported<decltype(pa_operation_get_state)> operationState{library, "pa_operation_get_state"};
    Imported<decltype(pa_operation_unref)> unrefOperation{library, "pa_operation_unref"};

    Imported<decltype(pa_proplist_new)> newProperties{library, "pa_proplist_new"};
    Imported<decltype(pa_proplist_free)> freeProperties{library, "pa_proplist_free"};
    Imported<decltype(pa_proplist_sets)> setProperty{library, "pa_proplist_sets"};
    Imported<decltype(pa_proplist_gets)> property{library, "pa_proplist_gets"};

    Imported<decltype(pa_stream_new_with_proplist)> newStream{library, "pa_stream_new_with_proplist"};
    Imported<decltype(pa_stream_unref)> unrefStream{library, "pa_stream_unref"};
    Imported<decltype(pa_stream_connect_playback)> connectPlayback{library, "pa_stream_connect_playback"};
    Imported<decltype(pa_stream_connect_record)> connectRecord{library, "pa_stream_connect_record"};
    Imported<decltype(pa_stream_disconnect)> disconnectStream{library, "pa_stream_disconnect"};
    Imported<decltype(pa_stream_get_state)> streamState{library, "pa_stream_get_state"};
    Imported<decltype(pa_stream_get_device_name)> streamDevice{library, "pa_stream_get_device_name"};
    Imported<decltype(pa_stream_get_buffer_attr)> bufferSizes{library, "pa_stream_get_buffer_attr"};
    Imported<decltype(pa_stream_set_buffer_attr)> setBufferSizes{library, "pa_stream_set_buffer_attr"};
    Imported<decltype(pa_stream_get_latency)> latency{library, "pa_stream_get_latency"};
    Imported<decltype(pa_stream_writable_size)> writableSize{library, "pa_stream_writable_size"};
    Imported<decltype(pa_stream_write)> write{library, "pa_stream_write"};
    Imported<decltype(pa_stream_peek)> peek{library, "pa_stream_peek"};
    Imported<decltype(pa_stream_drop)> drop{library, "pa_stream_drop"};
    Imported<decltype(pa_stream_cork)> cork{library, "pa_stream_cork"};
    Imported<decltype(pa_stream_set_state_callback)> onStreamState{library, "pa_stream_set_state_callback"};
    Imported<decltype(pa_stream_set_write_callback)> onRequest{library, "pa_stream_set_write_callback"};
    Imported<decltype(pa_stream_set_read_callback)> onRead{library, "pa_stream_set_read_callback"};
    Imported<decltype(pa_stream_set_underflow_callback)> onUnderflow{library,
                                                                     "pa_stream_set_underflow_callback"};
    Imported<decltype(pa_stream_set_moved_callback)> onMove{library, "pa_stream_set_moved_callback"};
};

inline PulseLibrary& Pulse() {
    static slib::NoDestroy<PulseLibrary> library;
    return *library;
}

}  // namespace platform
