// Which bundle a program belongs to. Private to this folder.
#pragma once

#include <string>
#include <string_view>

/// The folder of the innermost bundle in whose Contents/Linux the program at the absolute path `program`
/// lies, at any depth; empty when it lies in none. The program itself need not exist any more, the bundle
/// must: a folder with Contents/Info.plist.
std::string bundleFolderOfProgram(std::string_view program);
