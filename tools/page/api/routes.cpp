#include <array>

#include "tools/page/api/answers.h"

namespace page {
namespace {

constexpr Method get = Method::Get, post = Method::Post;
constexpr bool isJob = true;

constexpr std::array<Route, 32> routes{{
    {get, "/api/state", Body::None, false, State},
    {get, "/api/revision", Body::None, false, Revision},
    {get, "/api/check", Body::None, false, Check},
    {get, "/api/games", Body::None, false, Games},
    {get, "/api/log", Body::None, false, ShowLog},
    {post, "/api/setting", Body::Object, false, ChangeSetting},
    {post, "/api/undo", Body::Object, false, UndoChange},
    {post, "/api/redo", Body::Object, false, RedoChange},
    {get, "/api/export", Body::None, false, ExportSettings},
    {post, "/api/import", Body::Object, false, ImportSettings},
    {post, "/api/measure", Body::Object, isJob, Measure},
    {post, "/api/select", Body::Object, false, SelectLayout},
    {post, "/api/speaker", Body::Object, false, ChangeSpeaker},
    {post, "/api/test", Body::Object, isJob, TestSpeakers},
    {post, "/api/room/preview", Body::Object, false, PreviewRoom},
    {post, "/api/room/import", Body::Object, false, ImportRoom},
    {get, "/api/room/export", Body::None, false, ExportRoom},
    {post, "/api/room/apply", Body::Object, isJob, ApplyRoom},
    {post, "/api/room/remove", Body::Object, false, RemoveRoom},
    {post, "/api/head", Body::Bytes, isJob, AddHead},
    {post, "/api/head/use", Body::Object, false, UseHead},
    {post, "/api/head/remove", Body::Object, false, RemoveHead},
    {post, "/api/headphones", Body::Object, false, AddHeadphones},
    {post, "/api/headphones/use", Body::Object, false, UseHeadphones},
    {post, "/api/headphones/off", Body::Object, false, SwitchHeadphonesOff},
    {post, "/api/headphones/remove", Body::Object, false, RemoveHeadphones},
    {post, "/api/profile", Body::Object, false, ChangeProfile},
    {post, "/api/profile/reset", Body::Object, false, ResetProfile},
    {post, "/api/tracker", Body::Object, false, ChangeTracker},
    {post, "/api/tracker/centre", Body::Object, false, CentreTracker},
    {post, "/api/record/start", Body::Object, false, StartRecording},
    {post, "/api/record/stop", Body::Object, false, StopRecording},
}};

}  // namespace

std::span<const Route> Routes() {
    return routes;
}

}  // namespace page
