#include "DGAMonitor/Watch/DGAWatchVerdict.h"

#include "DGAMonitor/Const/DGAConst.h"

DGAWatchVerdict dgaWatchVerdict(const DGAWatchFacts& facts) {
    if (facts.promptIsUp && facts.processFound)
        return DGAWatchVerdict::awaitAnswer;
    if (facts.readyToQuit)
        return DGAWatchVerdict::judgeQuit;
    if (!facts.clientKnown)
        return facts.silence < kDGANoClientPIDTimeout ? DGAWatchVerdict::awaitClient
                                                      : DGAWatchVerdict::noClient;
    if (!facts.processFound)
        return facts.clientHasQuit ? DGAWatchVerdict::leftNormally : DGAWatchVerdict::crashed;
    // Of a client that is ending no heartbeat is to be expected.
    if (facts.silence <= kDGAFrozeTimeInterval || facts.clientHasQuit)
        return DGAWatchVerdict::alive;
    return facts.promptsSoFar < kDGAMaxFrozenPrompts ? DGAWatchVerdict::askUser
                                                     : DGAWatchVerdict::frozenForGood;
}
