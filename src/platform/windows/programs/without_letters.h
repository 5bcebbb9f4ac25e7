// A system without faces, for comparisons with systems that draw other letters.
#pragma once

/// Lets every face be refused to the module, which this process has loaded. False where that cannot be done.
bool KwTakeLettersAway();
