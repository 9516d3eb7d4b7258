#pragma once

#include <QByteArray>
#include <QString>

class Station;

// The analyzer's maintenance commands, as the command buttons (cmdCommands)
// send them: the catalogue string goes out, the answer is awaited for at
// most 2000 ms and both are shown, readable, in the first status panel
// ("Send SRAL?<CR> Reply ZD005123<CR>", or "... No Reply").

// How the answer to a command ends.
enum class AnswerEnd
{
    Line,   // with a CR
    Count,  // after a fixed number of bytes (the user identifier)
    Record, // with one data record
    None    // no answer is expected: the whole time limit is waited
};

struct CommandReply
{
    QByteArray sent;
    QByteArray answer;
    bool answered = false; // the answer came complete within the time limit
    bool refused = false;  // the line was busy: nothing was sent
};

// One exchange: claims the line, sends `command`, waits for the answer that
// ends as `end` says (`count` bytes for AnswerEnd::Count), and shows both.
// The port must be open; a busy line refuses the command.
CommandReply ProcessZEPB(Station& st, const QByteArray& command, AnswerEnd end, int count = 0);

// The command of button `index` of the panel: opens the port and exchanges
// the button's command ("CALIBR" sends "CALB " + the calibration
// concentration, only when one was entered; "SET CUST" sends nothing, its
// dialog does). keepOpen is set when the analyzer answered. A "DATA?"
// answer is a reading: it goes the way of every reading.
CommandReply ProcessZEPA(Station& st, int index, bool& keepOpen);

// A click on command button `index`: with the receive settings put aside and
// the port closed, runs ProcessZEPA; then restores the receive settings and
// leaves the port open when it was open before or ProcessZEPA asked to keep
// it, closed otherwise.
void cmdCommands_Click(Station& st, int index);

struct UserIdResult
{
    QByteArray sent;
    QString readBack;
    bool timedOut = false;
    bool refused = false;
};

// Writes a user identifier ("CUST " + the text blank-padded or cut to 14
// characters + CR), waits the command wait time, reads it back with "CUST?"
// (the answer ends at userIdReplyLen bytes, or "Time Out" after 2000 ms)
// and returns the port to its earlier open or closed state. Empty text
// sends nothing.
UserIdResult WriteUserId(Station& st, const QString& text);

inline constexpr int kCommandTimeoutMs = 2000;
inline constexpr int kUserIdLen = 14; // characters of the identifier written
inline constexpr int kUserIdWriteWaitMs = 200;
