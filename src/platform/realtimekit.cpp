#include "platform/realtimekit.h"

#include <cstddef>
#include <cstdlib>
#include <utility>

#include "platform/boundedcall.h"
#include "platform/clock.h"
#include "platform/dynamiclibrary.h"
#include "slib/nodestroy.h"

namespace platform {

// Of the binary interface of libdbus-1.so.3. Its headers differ between processors, these few lines don't.
struct DBusConnection;

namespace {

struct DBusMessage;
struct DBusPendingCall;
// Storage of the size and alignment of the library's, and more.
struct alignas(16) DBusMessageIter {
    std::byte storage[256];
};
using Boolean = std::uint32_t;
constexpr int typeError = 3;  // of messages
constexpr int typeInvalid = 0, typeString = 's', typeVariant = 'v', typeInt32 = 'i', typeUint32 = 'u',
              typeInt64 = 'x', typeUint64 = 't';

struct DBusLibrary {
    DynamicLibrary library{"libdbus-1.so.3"};

    Imported<void(Boolean)> setChangeSigpipe{library, "dbus_connection_set_change_sigpipe"};
    Imported<DBusConnection*(const char* address, void* error)> open{library, "dbus_connection_open_private"};
    Imported<void(DBusConnection*, Boolean)> setExitOnDisconnect{library,
                                                                 "dbus_connection_set_exit_on_disconnect"};
    Imported<void(DBusConnection*)> close{library, "dbus_connection_close"};
    Imported<void(DBusConnection*)> release{library, "dbus_connection_unref"};
    Imported<Boolean(DBusConnection*, DBusMessage*, DBusPendingCall**, int milliseconds)> send{
        library, "dbus_connection_send_with_reply"};
    Imported<Boolean(DBusConnection*, int milliseconds)> work{library, "dbus_connection_read_write_dispatch"};
    Imported<DBusMessage*(const char* name, const char* path, const char* interface, const char* method)>
        makeCall{library, "dbus_message_new_method_call"};
    Imported<Boolean(DBusMessage*, int firstType, ...)> append{library, "dbus_message_append_args"};
    Imported<int(DBusMessage*)> messageType{library, "dbus_message_get_type"};
    Imported<Boolean(DBusMessage*, DBusMessageIter*)> readArguments{library, "dbus_message_iter_init"};
    Imported<int(DBusMessageIter*)> argumentType{library, "dbus_message_iter_get_arg_type"};
    Imported<void(DBusMessageIter*, DBusMessageIter* inner)> enter{library, "dbus_message_iter_recurse"};
    Imported<void(DBusMessageIter*, void* value)> read{library, "dbus_message_iter_get_basic"};
    Imported<void(DBusMessage*)> releaseMessage{library, "dbus_message_unref"};
    Imported<Boolean(DBusPendingCall*)> isCompleted{library, "dbus_pending_call_get_completed"};
    Imported<DBusMessage*(DBusPendingCall*)> takeReply{library, "dbus_pending_call_steal_reply"};
    Imported<void(DBusPendingCall*)> cancel{library, "dbus_pending_call_cancel"};
    Imported<void(DBusPendingCall*)> releasePending{library, "dbus_pending_call_unref"};
};

DBusLibrary& Library() {
    static slib::NoDestroy<DBusLibrary> library;
    return *library;
}

struct MessageReleaser {
    void operator()(DBusMessage* message) const { Library().releaseMessage(message); }
};
using Message = std::unique_ptr<DBusMessage, MessageReleaser>;

constexpr const char* service = "org.freedesktop.RealtimeKit1";
constexpr const char* object = "/org/freedesktop/RealtimeKit1";
constexpr std::int64_t longestWait = 1'000'000'000;  // ns, for an answer
constexpr int step = 10;                             // ms, between two looks at something else

const char* Address() {
    const char* const given = secure_getenv("DBUS_SYSTEM_BUS_ADDRESS");
    return given != nullptr ? given : "unix:path=/var/run/dbus/system_bus_socket";
}

// May hang. A first connection makes the library ignore SIGPIPE for the whole process, unless it is told not
// to; it raises none itself. A game's own connections find that switch as it is at first.
DBusConnection* Open() {
    if (!Library().library.problem.empty()) return nullptr;
    Library().setChangeSigpipe(0);
    DBusConnection* const connection = Library().open(Address(), nullptr);
    Library().setChangeSigpipe(1);
    if (connection != nullptr) Library().setExitOnDisconnect(connection, 0);
    return connection;
}

// Of an integer, or of the variant that holds it.
std::optional<std::int64_t> ReadInteger(DBusMessageIter& place) {
    switch (Library().argumentType(&place)) {
        case typeVariant: {
            DBusMessageIter inner;
            Library().enter(&place, &inner);
            if (Library().argumentType(&inner) == typeVariant) return {};
            return ReadInteger(inner);
        }
        case typeInt32: {
            std::int32_t value = 0;
            Library().read(&place, &value);
            return value;
        }
        case typeInt64: {
            std::int64_t value = 0;
            Library().read(&place, &value);
            return value;
        }
        default:
            return {};
    }
}

}  // namespace

// A connection, closed at the end.
struct RealtimeKit::Bus {
    explicit Bus(DBusConnection* connection) : connection(connection) {}
    ~Bus() {
        Library().close(connection);
        Library().release(connection);
    }
    Bus(const Bus&) = delete;
    Bus& operator=(const Bus&) = delete;

    // The answer, or null where there is none, or an error.
    Message Call(const Message& call, const Meanwhile& meanwhile, bool& hasHung) const {
        DBusPendingCall* pending = nullptr;
        const std::int64_t end = NowNanoseconds() + longestWait;
        if (!call || Library().send(connection, call.get(), &pending, 60'000) == 0 || pending == nullptr)
            return {};
        bool isGoingOn = true;
        while (isGoingOn && Library().isCompleted(pending) == 0) {
            hasHung = NowNanoseconds() > end;
            isGoingOn = !hasHung && Library().work(connection, step) != 0 && meanwhile();
        }
        Message reply(Library().isCompleted(pending) != 0 ? Library().takeReply(pending) : nullptr);
        if (!reply) Library().cancel(pending);
        Library().releasePending(pending);
        if (reply && Library().messageType(reply.get()) == typeError) reply.reset();
        return reply;
    }

    DBusConnection* const connection;
};

RealtimeKit::RealtimeKit(std::unique_ptr<Bus> bus, Meanwhile meanwhile)
    : bus(std::move(bus)), meanwhile(std::move(meanwhile)) {}

RealtimeKit::~RealtimeKit() = default;

// The greeting is a bus's first call.
std::unique_ptr<RealtimeKit> RealtimeKit::Connect(Meanwhile meanwhile) {
    const auto opened = std::make_shared<std::unique_ptr<Bus>>();
    const bool isOver = CallBounded([opened] {
        if (DBusConnection* const connection = Open()) *opened = std::make_unique<Bus>(connection);
    });
    if (!isOver || !*opened) return nullptr;
    std::unique_ptr<RealtimeKit> made(new RealtimeKit(std::move(*opened), std::move(meanwhile)));
    constexpr const char* busName = "org.freedesktop.DBus";
    const Message hello(Library().makeCall(busName, "/org/freedesktop/DBus", busName, "Hello"));
    if (!made->bus->Call(hello, made->meanwhile, made->hasHung) && !made->hasHung) return nullptr;
    return made;
}

std::optional<std::int64_t> RealtimeKit::Property(const char* name) {
    if (hasHung) return {};
    const Message call(Library().makeCall(service, object, "org.freedesktop.DBus.Properties", "Get"));
    if (!call || Library().append(call.get(), typeString, &service, typeString, &name, typeInvalid) == 0)
        return {};
    const Message reply = bus->Call(call, meanwhile, hasHung);
    DBusMessageIter place;
    if (!reply || Library().readArguments(reply.get(), &place) == 0) return {};
    return ReadInteger(place);
}

bool RealtimeKit::MakeRealtime(pid_t thread, int level) {
    if (hasHung) return false;
    const auto id = static_cast<std::uint64_t>(thread);
    const auto priority = static_cast<std::uint32_t>(level);
    const Message call(Library().makeCall(service, object, service, "MakeThreadRealtime"));
    if (!call || Library().append(call.get(), typeUint64, &id, typeUint32, &priority, typeInvalid) == 0)
        return false;
    return bus->Call(call, meanwhile, hasHung) != nullptr;
}

bool RealtimeKit::MakeHighPriority(pid_t thread, int niceLevel) {
    if (hasHung) return false;
    const auto id = static_cast<std::uint64_t>(thread);
    const std::int32_t priority = niceLevel;
    const Message call(Library().makeCall(service, object, service, "MakeThreadHighPriority"));
    if (!call || Library().append(call.get(), typeUint64, &id, typeInt32, &priority, typeInvalid) == 0)
        return false;
    return bus->Call(call, meanwhile, hasHung) != nullptr;
}

}  // namespace platform
