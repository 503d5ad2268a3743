#pragma once

// The answers, one for each row of the table of routes, by subject. What a body has to have is told by the
// row; an answer checks it (reading.h) before it changes anything.

#include "tools/page/api/api.h"

namespace page {

// state.cpp
Json State(const Request& request, Report& report);
Json Revision(const Request& request, Report& report);

// settings.cpp
Json ChangeSetting(const Request& request, Report& report);
Json UndoChange(const Request& request, Report& report);
Json RedoChange(const Request& request, Report& report);
Json ExportSettings(const Request& request, Report& report);
Json ImportSettings(const Request& request, Report& report);
Json Measure(const Request& request, Report& report);

// rooms.cpp
Json PreviewRoom(const Request& request, Report& report);
Json ImportRoom(const Request& request, Report& report);
Json ExportRoom(const Request& request, Report& report);
Json ApplyRoom(const Request& request, Report& report);
Json RemoveRoom(const Request& request, Report& report);

// layouts.cpp
Json SelectLayout(const Request& request, Report& report);
Json ChangeSpeaker(const Request& request, Report& report);
Json TestSpeakers(const Request& request, Report& report);

// heads.cpp
Json AddHead(const Request& request, Report& report);
Json UseHead(const Request& request, Report& report);
Json RemoveHead(const Request& request, Report& report);
Json AddHeadphones(const Request& request, Report& report);
Json UseHeadphones(const Request& request, Report& report);
Json SwitchHeadphonesOff(const Request& request, Report& report);
Json RemoveHeadphones(const Request& request, Report& report);

// games.cpp
Json Games(const Request& request, Report& report);
Json ChangeProfile(const Request& request, Report& report);
Json ResetProfile(const Request& request, Report& report);

// tracker.cpp
Json ChangeTracker(const Request& request, Report& report);
Json CentreTracker(const Request& request, Report& report);

// recordings.cpp
Json StartRecording(const Request& request, Report& report);
Json StopRecording(const Request& request, Report& report);

// findings.cpp
Json Check(const Request& request, Report& report);
Json ShowLog(const Request& request, Report& report);

}  // namespace page
