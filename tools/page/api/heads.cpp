#include "tools/manage/heads.h"

#include "slib/exception.h"
#include "tools/page/api/answers.h"
#include "tools/page/api/privatefile.h"
#include "tools/page/api/reading.h"

namespace page {
namespace {

Json Answer(const std::string& note) {
    Json answer = Json::object();
    if (!note.empty()) answer["warnings"] = {note};
    return answer;
}

// What is wrong with the file is told by the name that the person gave.
template <typename Work>
void AddFrom(const PrivateFile& file, const std::string& name, const Work& work) {
    try {
        FromPage(work);
    } catch (const tool::WrongUse& fault) {
        throw tool::WrongUse(file.Named(fault.what(), name));
    }
}

}  // namespace

Json AddHead(const Request& request, Report& report) {
    tool::HeadFile head{"", NameIn(request, "name"), 0};
    if (const auto given = request.query.find("circumference");
        given != request.query.end() && !given->second.empty())
        head.circumference = tool::ParseCircumference(given->second, "The circumference");
    if (request.upload.empty()) throw tool::WrongUse("The file of the head is empty.");
    report.Step(-1, "reading the file");
    const PrivateFile file(request.upload, ".sofa");
    head.path = file.path.string();
    AddFrom(file, head.name, [&] { return tool::AddHead(head, StepsOf(report)); });
    Json answer = Answer(tool::UseHead(head.name).note);
    answer["name"] = head.name;
    return answer;
}

Json UseHead(const Request& request, Report&) {
    return Answer(tool::UseHead(NameIn(request.body, "name")).note);
}

Json RemoveHead(const Request& request, Report&) {
    return Answer(tool::RemoveHead(NameIn(request.body, "name")).note);
}

Json AddHeadphones(const Request& request, Report&) {
    const std::string name = NameIn(request.body, "name"), text = TextIn(request.body, "text");
    const PrivateFile file(text, ".txt");
    AddFrom(file, name, [&] {
        tool::AddHeadphones(file.path.string(), name);
        return 0;
    });
    return Json::object();
}

Json UseHeadphones(const Request& request, Report&) {
    return Answer(tool::UseHeadphones(NameIn(request.body, "name")).note);
}

Json SwitchHeadphonesOff(const Request&, Report&) {
    return Answer(tool::SwitchHeadphonesOff());
}

Json RemoveHeadphones(const Request& request, Report&) {
    return Answer(tool::RemoveHeadphones(NameIn(request.body, "name")).note);
}

}  // namespace page
