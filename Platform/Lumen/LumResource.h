// The toolkit's resources: a folder of ".aui" documents, which are Qt Designer forms, and the texts in them.
#pragma once

#include "Platform/Carbon/FSRef.h"
#include "Platform/Support/UniText.h"

#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace PubLumen {

/// Folders of resource documents, searched in their order.
class LumFileManager {
public:
    /// Opens the folder as the only one; false, and nothing is changed, when it is none.
    bool OpenFolder(const FSSpec& folder);
    /// Adds a folder that is searched after the others; false when it is none.
    bool AddFolder(const FSSpec& folder);
    /// The path of the document `name` in the first folder that holds it, or the empty text when none does. A
    /// name with a "/" names no document.
    std::string DocumentPath(std::u16string_view name) const;

private:
    std::vector<std::string> m_folders;
};

/// One document, read for its texts.
class LumDocument {
public:
    /// Opens `name` in the manager's folders. False, and the document is empty, when it does not exist, is no
    /// well-formed form, or has more than 1 MiB.
    bool Open(const LumFileManager& files, std::u16string_view name);
    /// Copies the text of the item `id`: the "text" property of the widget whose object name is "text" and
    /// the id, such as "text618". Cleared when there is no such item.
    void CopyItemText(SInt32 id, WideText& text) const;

private:
    std::map<std::u16string, std::u16string> m_texts; ///< object name to text
};

} // namespace PubLumen
