#pragma once

#include <string>
#include <vector>

/// Which folders are the same, or lie in each other: told by what they are to the file system, whatever
/// names, links or mounts lead to them.
namespace PDXFolderIdentity {

/// The folders in which `path` lies or would lie, itself first when it is one, the root last. Only those that
/// exist; links are resolved.
std::vector<std::string> foldersAround(const std::string& path);

/// Whether `path`, which need not exist, is `folder` or lies in it.
bool isWithin(const std::string& path, const std::string& folder);

/// A folder below `folder`, or a link to one, that is `other`, lies in it or contains it; "" when there is
/// none.
std::string detourTo(const std::string& folder, const std::string& other);

}  // namespace PDXFolderIdentity
