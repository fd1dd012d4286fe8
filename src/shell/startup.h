#pragma once

#include <string>
#include <vector>

namespace mod2neu {

// The whole run: start-up, conversion, closing. `arguments` are those after the program's name.
// Every outcome is reported through ShowMessage.
void RunProgram(const std::vector<std::string>& arguments);

// Tells a script that the requested model was not converted: for a run that ends before its end.
void ShowNotConverted() noexcept;

// Reads the arguments, finds the model file (asking for it when none is named), titles the
// caller's window and opens the model. True when the conversion may run.
[[nodiscard]] bool StartUp(const std::vector<std::string>& arguments);

}  // namespace mod2neu
