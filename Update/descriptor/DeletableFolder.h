// The rule which folders an update never deletes, whatever its descriptor names, and the deletion of the
// others.
#pragma once

#include "Platform/Carbon/FSRef.h"

#include <string>
#include <vector>

/// The folders that must be kept, and all that hold them: the user's home, the caches folder, the bundle of
/// the running program, and those of all collected products.
std::vector<std::string> keptFolders();

/// True for a folder that may be deleted with everything in it: none of `kept`, nor one that holds any of
/// them, no mount point, nor one that holds any, not "/", and none directly under "/". Folders are compared
/// by device and inode, so that no other name for one helps; a link in the folder's place, and an object that
/// has taken it since, may not be deleted. On success the reference is made anew with the folder's real path.
bool isDeletableFolder(FSRef& folder, const std::vector<std::string>& kept);

/// Deletes a folder with everything in it, or leaves it alone by the rule above.
void deleteFolderUnlessKept(const FSRef& folder);
