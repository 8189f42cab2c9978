// Checks, by reading it, that a file is a whole ELF shared object for this machine: its header,
// its program and section header tables and every loadable segment lie within the file. A file
// cut short would otherwise be mapped by the dynamic loader and fault (SIGBUS) as it is read.
#pragma once

#include <string>

namespace fxhost {

class SharedObjectFile {
public:
    // Empty when the file is loadable as far as its headers tell, else why not, in a few words.
    static std::string problem(const std::string& path);
};

}  // namespace fxhost
