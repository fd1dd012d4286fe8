#pragma once

#include <optional>
#include <string>

namespace mod2neu {

// The path as the host takes it: every backslash a slash.
std::string HostPath(const std::string& path);

// The path of the only entry of the directory whose name equals the last component of `path`
// without regard to the case of ASCII letters. Nothing when there is none or more than one.
std::optional<std::string> MatchWithoutCase(const std::string& path);

// `path` from the root on, without empty and "." components. A ".." is taken out together with
// the real directory before it; behind a symbolic link it stays, since it leads elsewhere there.
std::string AbsolutePath(const std::string& path);

// `name` within `directory`, joined with the separator that the directory already uses.
std::string JoinPath(const std::string& directory, const std::string& name);

}  // namespace mod2neu
