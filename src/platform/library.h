// The shared library that holds the module: where it stands, and how a host loads it. Compiled into the host.
#pragma once

#include <string>

/// What the platform calls the module's file.
extern const char* const kModuleFileName;

/// `path`, or without one the file that LARKMOOR_MODULE names, the one beside this code, in the `lib` folders beside
/// the program's folder, or on the system's library path. Empty where there is none: `looked` then names the files that
/// were looked for, each with ", " behind it.
std::string KwModuleFile(const std::string& path, std::string& looked);

/// The module's file in the folder of the library or program that an address lies in. Empty where there is none, or
/// LARKMOOR_MODULE names one.
std::string KwModuleBeside(const void* address);

/// A loaded library stays for the life of the process, closed or not, since the libraries that it needs keep caches.
/// Null where it cannot be loaded, with the reason in the system's words.
void* KwOpenLibrary(const std::string& file, std::string& why);
void KwCloseLibrary(void* library);
/// An exported function, or null.
void* KwFindFunction(void* library, const char* name);

/// The file of the library or program that an address lies in, and of the program that runs; empty where the system
/// does not tell.
std::string KwFileOfAddress(const void* address);
std::string KwProgramFile();
