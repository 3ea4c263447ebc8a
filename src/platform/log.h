// The one message channel: Android's log where there is one, the standard error stream elsewhere.
#pragma once

namespace skew {

// Logs one message with priority 4 (information) and the tag "SkewCorrectionJni".
//   format  the text, with at most one %d, which stands for value
void log_info(const char* format, int value = 0);

}  // namespace skew
