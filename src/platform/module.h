#pragma once

#include <string>
#include <string_view>

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

// Directory of the file that holds this library, without a trailing slash. What this and the next
// say was settled when the library was loaded, and outlives all objects.
const char* LibraryDirectory();

// A path of the environment, as it was meant when the library was loaded.
std::string FullPath(std::string_view path);

// Keeps this library in the process although its host closes it, for as long as its threads may
// run; and no longer. Calls come one at a time.
void KeepLibrary();
void ReleaseLibrary();
// For a thread that nobody waits for.
void KeepLibraryForGood();
// For a thread that the unloading library waits for: nothing, unless the system lets no thread end
// meanwhile; the library is kept for good then.
void KeepLibraryForWorker();

}  // namespace platform
