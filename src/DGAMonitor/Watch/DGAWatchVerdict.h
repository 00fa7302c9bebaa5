#pragma once

/// What one tick of the watch knows.
struct DGAWatchFacts {
    bool readyToQuit = false;
    bool promptIsUp = false;     ///< the user is being asked about a frozen client
    bool clientKnown = false;    ///< the client has told its process id
    bool processFound = false;   ///< the client's process runs
    bool clientHasQuit = false;  ///< the client has said goodbye
    double silence = 0.0;        ///< seconds since the last heartbeat, or since the start
    int promptsSoFar = 0;        ///< how often the user was asked about a frozen client
};

/// What one tick of the watch has to do.
enum class DGAWatchVerdict {
    awaitAnswer,    ///< nothing to do until the user answers or the client does something
    judgeQuit,      ///< ask the quit policy, nothing else
    awaitClient,    ///< the client may still tell its process id
    noClient,       ///< it had time enough: nothing is left to watch
    alive,          ///< nothing to do
    askUser,        ///< frozen: show the prompt
    frozenForGood,  ///< frozen, and the user was asked often enough
    crashed,        ///< gone without a goodbye
    leftNormally,   ///< gone after its goodbye
};

/// Decides one tick. No state, no side effects.
DGAWatchVerdict dgaWatchVerdict(const DGAWatchFacts& facts);
