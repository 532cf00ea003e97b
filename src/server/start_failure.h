// Why the last start failed.
#pragma once

namespace sdkapi {

// A start begins: forgets the one before.
void BeginStartNotes();

// A start failed before it began. What another one under way has noted stays.
void NoteRefusedStart(const char* reason);

// What the web server or the library says while a start is under way; nothing is noted at other times.
void NoteStartMessage(const char* message);

// The start is over; after a good one there is nothing to tell.
void EndStartNotes(bool started);

}  // namespace sdkapi
