#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <variant>

namespace mod2neu {

// Flags of a message; any combination.
constexpr std::uint32_t MSG_STATUS = 0x10;         // progress
constexpr std::uint32_t MSG_INFO = 0x20;           // information
constexpr std::uint32_t MSG_ERROR = 0x40;          // sets ErrorsOccurred
constexpr std::uint32_t MSG_BOX = 0x100;           // also a task-modal message box
constexpr std::uint32_t MSG_SYSTEM_MODAL = 0x200;  // also a system-modal message box

// String-table numbers of the messages.
enum class MessageId : int {
    kWriteDatabase = 10003,
    kOpenFile = 10004,
    kStartupMemory = 10007,
    kOperationMemory = 10008,
    kCacheAllocated = 10009,
    kReadFile = 10010,
    kWriteFile = 10011,
    kReadDatabase = 10047,
    kTranslated = 10068,
    kErrorsOccurred = 10088,
    kOpening = 10177,
    kVersion = 10299,
    kFileInUse = 10484,
};

// An argument for a format of the string table: %ld and %i take a number, %.3lg a real, %s a text.
using MessageArgument = std::variant<std::int64_t, double, std::string_view>;
using MessageArguments = std::initializer_list<MessageArgument>;

// Formats message `id`, shows it in a box when `flags` ask for one, and appends it to the status
// window. Returns when the user has dismissed the box.
void ShowMessage(std::uint32_t flags, MessageId id, MessageArguments arguments = {});

// The same with the flags that the message usually bears.
void ShowMessage(MessageId id, MessageArguments arguments = {});

// True once a message with MSG_ERROR has been shown.
bool ErrorsOccurred();

// Forgets all messages and the status window, as at program start.
void ResetMessages();

}  // namespace mod2neu
