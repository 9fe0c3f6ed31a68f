#pragma once

#include <string>

// Modules loaded at run time. Names are those of the contracts ("orvexDDI.dll",
// "...\BV_PoP.dll"); only this layer turns them into the system's own: `\` becomes `/` and a
// trailing ".dll" becomes ".so".
namespace platform {

using ModuleHandle = void*;

// A name with a directory is tried there, then by its base name. A bare name is sought in each
// directory of ORVEX_MODULE_PATH, in the directory of this library, in its sub-directory "orvex",
// then by the system's own search. The first file that is there is the module: one that can't be
// loaded is not passed over for another. Null when not found or not loaded.
ModuleHandle LoadModule(const char* contract_name);

// Null when the module has no such symbol.
void* FindSymbol(ModuleHandle module, const char* name);

void ReleaseModule(ModuleHandle module);

// Why the calling thread's last LoadModule failed.
std::string ModuleErrorText();

// Directory of the file that holds this library, without a trailing slash.
std::string LibraryDirectory();

}  // namespace platform
