#pragma once

#include <cstddef>

namespace mod2neu {

// What goes to the Neutral file in one write, and what one reservation may add behind it.
constexpr std::size_t kOutputBlock = std::size_t{512} * 1024;
constexpr std::size_t kOutputReserve = 16384;

// The text that waits for the file. Writers append at `next` what fits into kOutputReserve and
// move it on; once `next` has passed `mark` a full block is due.
struct OutputBuffer {
    char* next;
    char* mark;
};

extern OutputBuffer outputBuffer;

// Writes out the full block and moves the rest to the front.
void DrainOutput();

// Where the next at most kOutputReserve characters go. Valid until the next call of any writer.
inline char* ReserveOutput() {
    if (outputBuffer.next >= outputBuffer.mark) [[unlikely]] {
        DrainOutput();
    }
    return outputBuffer.next;
}

// Takes over what was written from ReserveOutput's place up to `end`.
inline void CommitOutput(char* end) {
    outputBuffer.next = end;
}

}  // namespace mod2neu
