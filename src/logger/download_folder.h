#pragma once
// Where downloads are saved: the same data folder the live recordings use, the profile's
// "Documents/KV2260" (or "My Documents/KV2260"), created one level at a time when missing.
#include <string>

namespace pa::logger {

// The rule under a given profile folder:
//   1. profile/Documents exists      -> profile/Documents/KV2260
//   2. profile/My Documents exists   -> profile/My Documents/KV2260
//   3. otherwise create profile/Documents, then profile/Documents/KV2260.
// The last folder is created when missing. Returns the folder ("" when it cannot be made).
std::string downloadFolderUnder(const std::string& profile);

// The rule under the user's profile: USERPROFILE on Windows, HOME elsewhere.
std::string downloadFolder();

} // namespace pa::logger
