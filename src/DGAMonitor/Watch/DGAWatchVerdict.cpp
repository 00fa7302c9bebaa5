#include "DGAMonitor/Watch/DGAWatchVerdict.h"

#include "DGAMonitor/Const/DGAConst.h"

DGAWatchVerdict dgaWatchVerdict(const DGAWatchFacts& facts) {
    if (facts.readyToQuit)
        return DGAWatchVerdict::judgeQuit;
    if (!facts.clientKnown)
        return facts.silence < kDGANoClientPIDTimeout ? DGAWatchVerdict::awaitClient
                                                      : DGAWatchVerdict::noClient;
    if (!facts.processFound)
        return facts.clientHasQuit ? DGAWatchVerdict::leftNormally : DGAWatchVerdict::crashed;
    if (facts.silence <= kDGAFrozeTimeInterval)
        return DGAWatchVerdict::alive;
    return facts.promptsSoFar < kDGAMaxFrozenPrompts ? DGAWatchVerdict::askUser
                                                     : DGAWatchVerdict::frozenForGood;
}
