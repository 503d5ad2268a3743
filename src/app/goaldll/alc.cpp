// The alc* calls: the one device, its contexts, which are one unless the game's profile allows several, what
// can be asked about them, and the devices that a game may record from.

#include "AL/alc.h"

#include <array>
#include <exception>
#include <functional>
#include <memory>
#include <new>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "AL/tessarune.h"
#include "app/goaldll/alcenums.h"
#include "app/goaldll/alcprocs.h"
#include "app/goaldll/callframe.h"
#include "app/goaldll/capture.h"
#include "app/goaldll/extensions.h"
#include "app/goaldll/process.h"
#include "app/goaldll/standarderrors.h"
#include "app/goaldll/stepping.h"
#include "app/goaldll/threadcontexts.h"
#include "goal/version.h"

namespace {

using goal::Context;
using goal::GameSwitch;
using goal::Process;

constexpr const char* deviceName = "Tessarune";

// Runs the work of a call under apiMutex. An exception is a failed call, never the game's.
template <typename Result, typename Work>
Result Call(Result failure, const Work& work) {
    const goal::CallFrame frame;
    const goal::CancellationHeldOff heldOff;
    Process& process = goal::TheProcess();
    if (goal::CallFrame::IsRefused()) {
        process.alcError.Record(ALC_INVALID_VALUE);
        return failure;
    }
    const goal::ApiLock lock(process);
    process.TakeProfile();
    process.status.Publish();
    try {
        return std::invoke(work, process);  // clang takes `work` for the argument of its own annotation
    } catch (const std::exception& exception) {
        process.FailAlc(exception.what(), ALC_INVALID_VALUE);
        return failure;
    }
}

ALCdevice* Handle(goal::Device& device) {
    return reinterpret_cast<ALCdevice*>(&device);
}
ALCcontext* Handle(Context* context) {
    return reinterpret_cast<ALCcontext*>(context);
}
Context* ToContext(ALCcontext* handle) {
    return reinterpret_cast<Context*>(handle);
}

bool IsDevice(Process& process, const ALCdevice* handle) SLIB_REQUIRES(process.engine.apiMutex) {
    return handle == Handle(process.engine.device);
}

// ---- Contexts ----

// What the attribute list of alcCreateContext asks for.
struct Attributes {
    double frequency = -1;  // Hz; -1: not named
    int filterOrder = 0;    // 1 or 2; 0: not named
    bool isSync = false;
};

Attributes ReadAttributes(const ALCint* list) {
    Attributes attributes;
    for (; list != nullptr && list[0] != 0; list += 2) {
        const ALCint value = list[1];
        switch (list[0]) {
            case ALC_FREQUENCY:
                if (value > 0) attributes.frequency = value;
                break;
            case ALC_SYNC:
                attributes.isSync |= value == 1;
                break;
            case ALC_DEFAULT_FILTER_ORDER:
                if (value == 1 || value == 2) attributes.filterOrder = value;
                break;
            default:  // ALC_REFRESH follows from the output; the rest means nothing here
                break;
        }
    }
    return attributes;
}

std::unique_ptr<Context> AllocateContext(Process& process) {
    try {
        auto context = std::make_unique<Context>(process.engine);
        context->monitor =
            std::make_unique<goal::ConfigMonitor>(process.engine.configuration, context->recordings);
        return context;
    } catch (const std::bad_alloc& exception) {
        process.FailAlc(exception.what(), ALC_OUT_OF_MEMORY);
    } catch (const slib::OutOfMemoryException& exception) {
        process.FailAlc(exception.what(), ALC_OUT_OF_MEMORY);
    }
    return nullptr;
}

// A context without a server, in the device's table.
struct NewContext {
    std::unique_ptr<Context> context;  // null after a failure
    double frequency = -1;             // Hz, as the game asks
    bool isOnly = true;
};

NewContext PlaceContext(Process& process, const Attributes& attributes)
    SLIB_REQUIRES(process.engine.apiMutex) {
    goal::ContextTable& contexts = process.engine.device.contexts;
    NewContext made{AllocateContext(process), attributes.frequency, contexts.First() == nullptr};
    if (made.context == nullptr) return made;
    made.context->filterOrderAttribute = attributes.filterOrder;
    process.machinery.takesSeveralOutputs = process.profile.IsOn(GameSwitch::SeveralContexts);
    goal::NoteExit();
    process.ending.Prepare();
    made.context->place = contexts.Add(made.context.get());
    static_cast<void>(process.contextErrors[made.context->place].Take());
    return made;
}

// A server that can't start takes its context with it: the device is free for another try.
void ForgetContext(Process& process, const Context& context) SLIB_REQUIRES(process.engine.apiMutex) {
    process.engine.device.contexts.Remove(&context);
    process.engine.device.bufferPool.EndReading(context.place);
    if (process.engine.device.contexts.First() == nullptr) process.ending.Cancel();
}

NewContext NextContext(Process& process, const ALCdevice* device, const ALCint* list)
    SLIB_REQUIRES(process.engine.apiMutex) {
    const auto fail = [&](const char* text, int code) {
        process.FailAlc(text, code);
        return NewContext{};
    };
    const goal::ContextTable& contexts = process.engine.device.contexts;
    if (!IsDevice(process, device)) return fail("Invalid device in alcCreateContext().", ALC_INVALID_DEVICE);
    if (contexts.First() != nullptr && !process.profile.Allows(GameSwitch::SeveralContexts))
        return fail("The device already has a context in alcCreateContext()", ALC_INVALID_VALUE);
    if (contexts.IsFull())
        return fail("The device takes no more contexts in alcCreateContext().", ALC_INVALID_VALUE);
    if (process.isUnloading)
        return fail("The library is being unloaded in alcCreateContext().", ALC_INVALID_VALUE);
    const Attributes attributes = ReadAttributes(list);
    if (attributes.isSync) return fail("ALC_SYNC is not supported in alcCreateContext().", ALC_INVALID_VALUE);
    return PlaceContext(process, attributes);
}

// With apiMutex held the game's other threads wait for the start. Where another context plays its server
// would wait as well, and falter, so there it isn't held.
bool StartServer(Process& process, NewContext& made) {
    try {
        made.context->server.Start(*made.context, made.frequency);
        return true;
    } catch (const std::exception& exception) {
        return Call(false, [&](Process&) SLIB_REQUIRES(process.engine.apiMutex) {
            ForgetContext(process, *made.context);
            process.FailAlc(exception.what(), ALC_INVALID_VALUE);
            return false;
        });
    }
}

Context* CreateContext(Process& process, const ALCdevice* device, const ALCint* list) {
    NewContext made;
    bool isStarted = false;
    Call(false, [&](Process&) SLIB_REQUIRES(process.engine.apiMutex) {
        made = NextContext(process, device, list);
        if (made.context == nullptr || !made.isOnly) return false;
        return isStarted = StartServer(process, made);
    });
    if (made.context != nullptr && !made.isOnly) isStarted = StartServer(process, made);
    if (isStarted) return made.context.release();
    if (made.context == nullptr) return nullptr;
    const goal::ApiLock lock(process);  // that a context needs which never rendered
    made.context.reset();
    return nullptr;
}

// Notes a use of suspension and runs `work(context)` with stateMutex held, or, when suspension is switched
// off, ends one that still lasts. `failure` is for a handle that isn't the device's context.
template <typename Work>
void SuspensionCall(ALCcontext* handle, bool isUse, const char* failure, const Work& work) {
    if (handle == nullptr && !goal::IsStandardInForce()) return;
    Call(false, [&](Process& process) SLIB_REQUIRES(process.engine.apiMutex) {
        Context* const context = ToContext(handle);
        if (!process.engine.device.contexts.Has(context)) {
            process.FailAlc(failure, ALC_INVALID_CONTEXT);
            return false;
        }
        const bool isSupported = process.engine.configuration.Read(
            [](const orb3::Configuration& c) { return c.goalConfig.isSuspendSupported; });
        const slib::Lock stateLock(context->stateMutex);
        context->suspendUsed |= isUse;
        if (isSupported) {
            std::invoke(work, *context);
            return true;
        }
        // What gathered before it was switched off isn't lost.
        if (context->suspendCount > 0)
            EndSuspend(context->suspended, context->application, context->snapshot);
        context->suspendCount = 0;
        return true;
    });
}

// ---- Queries ----

const char* ErrorText(ALCenum code) {
    switch (code) {
        case ALC_NO_ERROR:
            return "No error.";
        case ALC_INVALID_DEVICE:
            return "Invalid device.";
        case ALC_INVALID_CONTEXT:
            return "Invalid context.";
        case ALC_INVALID_ENUM:
            return "Invalid enum.";
        case ALC_INVALID_VALUE:
            return "Invalid value.";
        case ALC_OUT_OF_MEMORY:
            return "Out of memory.";
        default:
            return nullptr;
    }
}

// Names, each ended by a NUL, and one more NUL at the end. Built once, so that the game may keep the pointer.
const char* DeviceList(Process& process) {
    const slib::Lock lock(process.engine.configuration.configurationMutex);
    if (process.deviceList.empty()) {
        const auto settings =
            process.engine.configuration.Peek([](const orb3::Configuration& c) { return c.goalConfig; });
        std::vector<std::string_view> names{deviceName};
        if (settings.masqueradeAsGenericSoftware) names.emplace_back("Generic Software");
        if (settings.masqueradeAsGenericHardware) names.emplace_back("Generic Hardware");
        std::string list;
        for (const std::string_view name : names) {
            list += name;
            list += '\0';
        }
        process.deviceList = list;
    }
    return process.deviceList.c_str();
}

const char* StringOf(Process& process, const ALCdevice* device, ALCenum parameter) {
    switch (parameter) {
        case ALC_DEVICE_SPECIFIER:
            return device != nullptr ? deviceName : DeviceList(process);
        case ALC_DEFAULT_DEVICE_SPECIFIER:
        case ALC_DEFAULT_ALL_DEVICES_SPECIFIER:
        case ALC_ALL_DEVICES_SPECIFIER:
            return DeviceList(process);
        case ALC_EXTENSIONS:
            return goal::AlcExtensions(process.profile.IsOn(GameSwitch::ThreadContexts)).text;
        case ALC_CAPTURE_DEVICE_SPECIFIER:
        case ALC_CAPTURE_DEFAULT_DEVICE_SPECIFIER:
            return "";
        default:
            return ErrorText(parameter);
    }
}

constexpr ALCint attributesSize = 21;
constexpr ALCint monoSources = 255;
constexpr ALCint stereoSources = 10;
constexpr ALCint maxAuxiliarySends = 4;
constexpr ALCint efxMajorVersion = 1;
constexpr ALCint efxMinorVersion = 1;

// The values that depend on the context, or without one on the configuration.
struct Timing {
    ALCint frequency;  // Hz
    ALCint refresh;    // blocks per second
};

// Of several contexts, the one that is asked about.
Context* ContextToTell(Process& process) SLIB_REQUIRES(process.engine.apiMutex) {
    Context* const current = goal::CurrentContext(process);
    return current != nullptr ? current : process.engine.device.contexts.First();
}

Timing TimingOf(Process& process) SLIB_REQUIRES(process.engine.apiMutex) {
    Context* const context = ContextToTell(process);
    if (context == nullptr) {
        constexpr ALCint usualRefresh = 25;
        return {process.engine.configuration.Peek(
                    [](const orb3::Configuration& c) { return c.goalConfig.defaultSampleRate; }),
                usualRefresh};
    }
    const slib::Lock lock(context->timingMutex);
    return {static_cast<ALCint>(context->sampleRate + 0.5), static_cast<ALCint>(context->refreshRate + 0.5)};
}

ALCint FilterOrder(Process& process) SLIB_REQUIRES(process.engine.apiMutex) {
    const Context* const context = ContextToTell(process);
    if (context != nullptr && context->filterOrderAttribute != 0)
        return context->filterOrderAttribute == 1 ? 1 : 2;
    return process.engine.configuration.Peek(
        [](const orb3::Configuration& c) { return c.goalConfig.defaultFilterOrder == 1 ? 1 : 2; });
}

// As many whole pairs as fit before the 0 that ends the list.
void WriteAllAttributes(Process& process, std::span<ALCint> data) SLIB_REQUIRES(process.engine.apiMutex) {
    const Timing timing = TimingOf(process);
    const std::array<std::array<ALCint, 2>, 11> pairs{{
        {ALC_FREQUENCY, timing.frequency},
        {ALC_REFRESH, timing.refresh},
        {ALC_SYNC, 0},
        {ALC_MAJOR_VERSION, 1},
        {ALC_MINOR_VERSION, 1},
        {ALC_EFX_MAJOR_VERSION, efxMajorVersion},
        {ALC_EFX_MINOR_VERSION, efxMinorVersion},
        {ALC_MAX_AUXILIARY_SENDS, maxAuxiliarySends},
        {ALC_MONO_SOURCES, monoSources},
        {ALC_STEREO_SOURCES, stereoSources},
        {ALC_DEFAULT_FILTER_ORDER, FilterOrder(process)},
    }};
    std::size_t written = 0;
    for (const auto& [key, value] : pairs) {
        if (written + 2 >= data.size()) break;
        data[written++] = key;
        data[written++] = value;
    }
    data[written] = 0;
}

void GetContextInteger(Process& process, ALCenum parameter, ALCint* data)
    SLIB_REQUIRES(process.engine.apiMutex) {
    switch (parameter) {
        case ALC_FREQUENCY:
            *data = TimingOf(process).frequency;
            break;
        case ALC_REFRESH:
            *data = TimingOf(process).refresh;
            break;
        case ALC_SYNC:
            *data = 0;
            break;
        case ALC_MONO_SOURCES:
            *data = monoSources;
            break;
        case ALC_STEREO_SOURCES:
            *data = stereoSources;
            break;
        default:
            *data = FilterOrder(process);
            break;
    }
}

void GetInteger(Process& process, const ALCdevice* device, ALCenum parameter, ALCsizei size, ALCint* data)
    SLIB_REQUIRES(process.engine.apiMutex) {
    const auto badDevice = [&] {
        process.FailAlc("Invalid device in alcGetIntegerv().", ALC_INVALID_DEVICE);
    };
    const auto badSize = [&] {
        process.FailAlc("Invalid data size in alcGetIntegerv().", ALC_INVALID_VALUE);
    };
    if (data == nullptr) return process.FailAlc("Invalid data array in alcGetIntegerv().", ALC_INVALID_VALUE);
    switch (parameter) {
        case ALC_EFX_MAJOR_VERSION:
            *data = efxMajorVersion;
            return;
        case ALC_EFX_MINOR_VERSION:
            *data = efxMinorVersion;
            return;
        case ALC_MAX_AUXILIARY_SENDS:
            *data = maxAuxiliarySends;
            return;
        case ALC_MAJOR_VERSION:
        case ALC_MINOR_VERSION:
        case ALC_ATTRIBUTES_SIZE:
            if (size < 1) return badSize();
            *data = parameter == ALC_ATTRIBUTES_SIZE ? attributesSize : 1;
            return;
        case ALC_ALL_ATTRIBUTES:
            if (!IsDevice(process, device)) return badDevice();
            if (size < 3) return badSize();
            return WriteAllAttributes(process, {data, static_cast<std::size_t>(size)});
        case ALC_FREQUENCY:
        case ALC_REFRESH:
        case ALC_SYNC:
        case ALC_MONO_SOURCES:
        case ALC_STEREO_SOURCES:
        case ALC_DEFAULT_FILTER_ORDER:
            if (!IsDevice(process, device) || process.engine.device.contexts.First() == nullptr)
                return badDevice();
            if (size < 1) return badSize();
            return GetContextInteger(process, parameter, data);
        default:
            return process.FailAlc("Unknown param in alcGetIntegerv().", ALC_INVALID_ENUM);
    }
}

// ---- Capture ----

bool IsCaptureOn() {
    return Call(false, [](const Process& process) { return process.profile.IsOn(GameSwitch::Capture); });
}

// Runs the work of a call that IsCaptureOn has let through, without apiMutex: it may wait for a sound server.
template <typename Result, typename Work>
Result CaptureCall(Result failure, const Work& work) {
    const goal::CallFrame frame;
    const goal::CancellationHeldOff heldOff;
    Process& process = goal::TheProcess();
    const auto fail = [&](const char* text, int code, bool always = false) {
        process.alcError.Record(code);
        process.LogCallFailure("Game ALC call failed: ", text, always);
        return failure;
    };
    try {
        return std::invoke(work, process.captures);
    } catch (const goal::CaptureException& exception) {
        return fail(exception.what(), exception.code, exception.isOfMachine);
    } catch (const std::bad_alloc& exception) {
        return fail(exception.what(), ALC_OUT_OF_MEMORY);
    } catch (const slib::OutOfMemoryException& exception) {
        return fail(exception.what(), ALC_OUT_OF_MEMORY);
    } catch (const std::exception& exception) {
        return fail(exception.what(), ALC_INVALID_VALUE);
    }
}

ALCdevice* OpenCapture(const ALCchar* name, ALCuint frequency, ALCenum format, ALCsizei size) {
    goal::NoteExit();
    return CaptureCall<ALCdevice*>(nullptr, [&](goal::CaptureDevices& captures) {
        return reinterpret_cast<ALCdevice*>(captures.Open(name, frequency, format, size));
    });
}

ALCboolean CloseCapture(const ALCdevice* device) {
    return CaptureCall<ALCboolean>(ALC_FALSE, [&](goal::CaptureDevices& captures) -> ALCboolean {
        captures.Close(device);
        return ALC_TRUE;
    });
}

void SetCapturing(const ALCdevice* device, bool running, const char* call) {
    CaptureCall(false, [&](goal::CaptureDevices& captures) {
        captures.SetRunning(device, running, call);
        return true;
    });
}

const char* CaptureName(const ALCdevice* device, ALCenum parameter) {
    return CaptureCall<const char*>(nullptr, [&](goal::CaptureDevices& captures) {
        const bool isOfDevice = parameter == ALC_CAPTURE_DEVICE_SPECIFIER && device != nullptr;
        return isOfDevice ? captures.NameOf(device) : captures.Names();
    });
}

void ReadCapture(const ALCdevice* device, ALCvoid* samples, ALCsizei frames) {
    CaptureCall(false, [&](goal::CaptureDevices& captures) {
        captures.Read(device, samples, frames);
        return true;
    });
}

void GetCaptureSamples(const ALCdevice* device, ALCsizei size, ALCint* data) {
    CaptureCall(false, [&](goal::CaptureDevices& captures) {
        const ALCint available = captures.Available(device);
        if (data == nullptr)
            throw goal::CaptureException("Invalid data array in alcGetIntegerv().", ALC_INVALID_VALUE);
        if (size < 1)
            throw goal::CaptureException("Invalid data size in alcGetIntegerv().", ALC_INVALID_VALUE);
        *data = available;
        return true;
    });
}

// What all games get whose profile doesn't allow it.
bool RefuseCapture(const char* text) {
    return Call(false, [&](Process& process) {
        process.FailAlc(text, ALC_INVALID_DEVICE);
        return false;
    });
}

}  // namespace

ALC_API ALCdevice* ALC_APIENTRY alcOpenDevice(const ALCchar*) {
    return Call<ALCdevice*>(nullptr, [](Process& process) SLIB_REQUIRES(process.engine.apiMutex) {
        return Handle(process.engine.device);
    });
}

ALC_API ALCboolean ALC_APIENTRY alcCloseDevice(ALCdevice* device) {
    return Call<ALCboolean>(
        ALC_FALSE, [&](Process& process) SLIB_REQUIRES(process.engine.apiMutex) -> ALCboolean {
            if (IsDevice(process, device) && process.engine.device.contexts.First() == nullptr)
                return ALC_TRUE;
            process.FailAlc("Invalid device in alcCloseDevice().", ALC_INVALID_DEVICE);
            return ALC_FALSE;
        });
}

ALC_API ALCcontext* ALC_APIENTRY alcCreateContext(ALCdevice* device, const ALCint* attributes) {
    const goal::CallFrame frame;
    const goal::CancellationHeldOff heldOff;
    const slib::Lock lifetimeLock(goal::TheProcess().engine.contextLifetimeMutex);
    return Handle(CreateContext(goal::TheProcess(), device, attributes));
}

ALC_API void ALC_APIENTRY alcDestroyContext(ALCcontext* handle) {
    Context* const context = ToContext(handle);
    if (context == nullptr && !goal::IsStandardInForce()) return;
    const goal::CallFrame frame;
    const goal::CancellationHeldOff heldOff;
    const slib::Lock lifetimeLock(goal::TheProcess().engine.contextLifetimeMutex);
    const bool isOurs = Call(false, [&](Process& process) SLIB_REQUIRES(process.engine.apiMutex) {
        if (process.currentContext == context) process.currentContext = nullptr;
        if (process.engine.device.contexts.Has(context)) return true;
        // A context that was destroyed already must not be freed twice.
        process.FailAlc("Invalid context in alcDestroyContext().", ALC_INVALID_CONTEXT);
        return false;
    });
    if (isOurs) goal::DestroyContext(goal::TheProcess(), context);
}

ALC_API ALCboolean ALC_APIENTRY alcMakeContextCurrent(ALCcontext* context) {
    return Call<ALCboolean>(
        ALC_FALSE, [&](Process& process) SLIB_REQUIRES(process.engine.apiMutex) -> ALCboolean {
            Context* const wanted = ToContext(context);
            if (wanted != nullptr && !process.engine.device.contexts.Has(wanted) &&
                goal::IsStandardInForce()) {
                process.FailAlc("Invalid context in alcMakeContextCurrent().", ALC_INVALID_CONTEXT);
                return ALC_FALSE;
            }
            process.currentContext = wanted;
            if (process.profile.IsOn(GameSwitch::ThreadContexts)) goal::SetThreadContext(nullptr);
            return ALC_TRUE;
        });
}

ALC_API ALCcontext* ALC_APIENTRY alcGetCurrentContext(void) {
    return Call<ALCcontext*>(nullptr, [](Process& process) SLIB_REQUIRES(process.engine.apiMutex) {
        Context* const own =
            process.profile.IsOn(GameSwitch::ThreadContexts) ? goal::ThreadContext(process) : nullptr;
        return Handle(own != nullptr ? own : process.currentContext);
    });
}

ALC_API ALCdevice* ALC_APIENTRY alcGetContextsDevice(ALCcontext* context) {
    return Call<ALCdevice*>(
        nullptr, [&](Process& process) SLIB_REQUIRES(process.engine.apiMutex) -> ALCdevice* {
            const bool isKnown =
                !goal::IsStandardInForce() || process.engine.device.contexts.Has(ToContext(context));
            if (context != nullptr && isKnown) return Handle(process.engine.device);
            process.FailAlc("Invalid context in alcGetContextsDevice().", ALC_INVALID_CONTEXT);
            return nullptr;
        });
}

ALC_API void ALC_APIENTRY alcSuspendContext(ALCcontext* handle) {
    SuspensionCall(handle, true, "Invalid context in alcSuspendContext().",
                   [](Context& context) SLIB_REQUIRES(context.stateMutex) {
                       if (context.suspendCount == 0)
                           BeginSuspend(context.suspended, context.application);
                       else if (goal::AllowsStandard())
                           return;  // where suspensions don't nest
                       ++context.suspendCount;
                   });
}

ALC_API void ALC_APIENTRY alcProcessContext(ALCcontext* handle) {
    SuspensionCall(handle, false, "Invalid context in alcProcessContext().",
                   [](Context& context) SLIB_REQUIRES(context.stateMutex) {
                       if (context.suspendCount == 0) return;
                       // First, so that without memory for it the suspension lasts and can be ended again.
                       if (context.suspendCount == 1)
                           EndSuspend(context.suspended, context.application, context.snapshot);
                       --context.suspendCount;
                   });
}

ALC_API ALCenum ALC_APIENTRY alcGetError(ALCdevice*) {
    if (goal::CallFrame::IsRefused()) return goal::TheProcess().alcError.Take();
    return Call<ALCenum>(ALC_INVALID_VALUE, [](Process& process) { return process.alcError.Take(); });
}

ALC_API ALCboolean ALC_APIENTRY alcIsExtensionPresent(ALCdevice*, const ALCchar* name) {
    return Call<ALCboolean>(ALC_FALSE, [&](Process& process) -> ALCboolean {
        if (name != nullptr)
            return goal::AlcExtensions(goal::AllowsThreadContexts(process, name)).contains(name) ? ALC_TRUE
                                                                                                 : ALC_FALSE;
        process.FailAlc("Invalid extension name in alcIsExtensionPresent()", ALC_INVALID_VALUE);
        return ALC_FALSE;
    });
}

ALC_API void* ALC_APIENTRY alcGetProcAddress(ALCdevice*, const ALCchar* name) {
    return Call<void*>(nullptr, [&](Process& process) -> void* {
        if (name == nullptr) {
            process.FailAlc("Invalid function name in alcGetProcAddress().", ALC_INVALID_VALUE);
            return nullptr;
        }
        if (const auto* row = goal::Find(goal::AlcProcs(), name)) return row->entry;
        if (void* const entry = goal::SteppingEntry(name)) return entry;
        if (const auto* row = goal::Find(goal::ThreadContextProcs(), name))
            if (goal::AllowsThreadContexts(process, name)) return row->entry;
        if (process.profile.Allows(GameSwitch::QuietLookups)) return nullptr;
        process.FailAlc("Unsupported function '" + std::string(name) + "' could not be found.",
                        ALC_INVALID_VALUE);
        return nullptr;
    });
}

ALC_API ALCenum ALC_APIENTRY alcGetEnumValue(ALCdevice*, const ALCchar* name) {
    if (name != nullptr)
        if (const auto* row = goal::Find(goal::AlcEnums(), name)) return row->value;
    if (!goal::TheProcess().profile.isTaken) Call(false, [](Process&) { return true; });
    const bool isQuiet = name != nullptr && goal::TheProcess().profile.Allows(GameSwitch::QuietLookups);
    if (!isQuiet) goal::TheProcess().alcError.Record(ALC_INVALID_ENUM);
    return 0;
}

ALC_API const ALCchar* ALC_APIENTRY alcGetString(ALCdevice* device, ALCenum parameter) {
    const bool isOfCapture =
        parameter == ALC_CAPTURE_DEVICE_SPECIFIER || parameter == ALC_CAPTURE_DEFAULT_DEVICE_SPECIFIER;
    if (isOfCapture && IsCaptureOn()) return CaptureName(device, parameter);
    return Call<const ALCchar*>(nullptr, [&](Process& process) {
        const char* const text = StringOf(process, device, parameter);
        if (text == nullptr) process.FailAlc("Unknown param in alcGetString().", ALC_INVALID_ENUM);
        return text;
    });
}

ALC_API void ALC_APIENTRY alcGetIntegerv(ALCdevice* device, ALCenum parameter, ALCsizei size, ALCint* data) {
    if (parameter == ALC_CAPTURE_SAMPLES && IsCaptureOn()) return GetCaptureSamples(device, size, data);
    Call(false, [&](Process& process) SLIB_REQUIRES(process.engine.apiMutex) {
        GetInteger(process, device, parameter, size, data);
        return true;
    });
}

ALC_API ALCdevice* ALC_APIENTRY alcCaptureOpenDevice(const ALCchar* name, ALCuint frequency, ALCenum format,
                                                     ALCsizei size) {
    if (IsCaptureOn()) return OpenCapture(name, frequency, format, size);
    return Call<ALCdevice*>(nullptr, [](Process& process) -> ALCdevice* {
        static_cast<void>(process.profile.Allows(GameSwitch::Capture));
        const char* const prefix = "Game ALC call failed: ";
        if (process.LogCallFailure(prefix, "Capture is not supported in alcCaptureOpenDevice().", false))
            process.alcError.Record(ALC_INVALID_VALUE);
        else
            process.FailAlc("Out of memory in alcCaptureOpenDevice().", ALC_OUT_OF_MEMORY);
        return nullptr;
    });
}

ALC_API ALCboolean ALC_APIENTRY alcCaptureCloseDevice(ALCdevice* device) {
    if (IsCaptureOn()) return CloseCapture(device);
    RefuseCapture("Capture is not supported in alcCaptureCloseDevice().");
    return ALC_FALSE;
}

ALC_API void ALC_APIENTRY alcCaptureStart(ALCdevice* device) {
    if (IsCaptureOn()) return SetCapturing(device, true, "alcCaptureStart");
    RefuseCapture("Capture is not supported in alcCaptureStart().");
}

ALC_API void ALC_APIENTRY alcCaptureStop(ALCdevice* device) {
    if (IsCaptureOn()) return SetCapturing(device, false, "alcCaptureStop");
    RefuseCapture("Capture is not supported in alcCaptureStop().");
}

ALC_API void ALC_APIENTRY alcCaptureSamples(ALCdevice* device, ALCvoid* samples, ALCsizei frames) {
    if (IsCaptureOn()) return ReadCapture(device, samples, frames);
    RefuseCapture("Capture is not supported in alcCaptureSamples().");
}

ALC_API void ALC_APIENTRY tsrGetVersion(ALCint* major, ALCint* minor, ALCint* patch) {
    *major = goal::versionMajor;
    *minor = goal::versionMinor;
    *patch = goal::versionPatch;
}
