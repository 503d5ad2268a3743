#include <sstream>

#include "library/layoutreader.h"
#include "library/roompreview.h"
#include "tools/manage/connection.h"
#include "tools/manage/room.h"
#include "tools/manage/roomstore.h"
#include "tools/manage/speakers.h"
#include "tools/manage/storedvalues.h"
#include "tools/page/api/answers.h"
#include "tools/page/api/reading.h"
#include "tools/page/api/speakerjson.h"

namespace page {
namespace {

Json Points(const std::vector<design::PreviewPoint>& points) {
    Json array = Json::array();
    for (const design::PreviewPoint& point : points)
        array.push_back({{"angle", point.angle},
                         {"level", Rounded(point.level)},
                         {"sharpness", Rounded(point.sharpness)},
                         {"error", Rounded(point.error)}});
    return array;
}

// A file's name, whatever people call the room.
std::string FileName(const std::string& name) {
    std::string file;
    for (const char c : name)
        file += c == '/' || c == '\\' || static_cast<unsigned char>(c) < 0x20 ? '_' : c;
    return file + ".txt";
}

}  // namespace

Json PreviewRoom(const Request& request, Report&) {
    const unsigned order = WholeIn(request.body, "order", 1, 4);
    const design::SpeakerLayout room = RoomFrom("Preview", ObjectsIn(request.body, "speakers"), false);
    const design::RoomPreview preview = design::PreviewRoom(room, order);
    return {{"horizontal", Points(preview.horizontal)}, {"vertical", Points(preview.vertical)}};
}

Json ImportRoom(const Request& request, Report&) {
    const std::string name = NameIn(request.body, "name");
    std::istringstream stream(TextIn(request.body, "text"));
    const design::SpeakerLayout room = FromPage([&] { return design::ReadLayout(stream, name); });
    if (room.speakers.size() > mostSpeakers)
        throw tool::WrongUse("A room on the page has at most " + std::to_string(mostSpeakers) +
                             " speakers. 'tessarune-config speakers room FILE --apply' takes more.");
    return {{"name", room.name}, {"isMeasured", room.IsMeasured()}, {"speakers", SpeakersOf(room)}};
}

Json ExportRoom(const Request&, Report&) {
    const orb3::Configuration configuration = tool::PeekDocument();
    const orb3::spk::Layout& layout = tool::FindLayout(configuration, "");
    return {{"name", FileName(layout.format)},
            {"text", tool::RoomText(layout, layout.format, {}, layout.distance > 0 ? layout.distance : 1)}};
}

Json ApplyRoom(const Request& request, Report& report) {
    const Json& speakers = ObjectsIn(request.body, "speakers");
    tool::RoomInUse use{
        RoomFrom(NameIn(request.body, "name"), speakers, true), WordIn(request.body, "device"), {}};
    for (const Json& speaker : speakers)
        use.outputs.push_back(WordIn(speaker, "output"));
    const orb3::spk::Layout layout = FromPage([&] { return tool::ApplyRoom(use, StepsOf(report)); });
    return {{"layout", layout.format}, {"warnings", tool::BassWarnings(layout)}};
}

Json RemoveRoom(const Request& request, Report&) {
    tool::RemoveRoom(NameIn(request.body, "name"));
    return Json::object();
}

}  // namespace page
