/* A library that is loaded and not linked, for hosts in C and C++. */
#ifdef _WIN32
#include <winsock2.h>
/* The newer sockets come before the older ones that this brings. */
#include <windows.h>
typedef HMODULE module_t;
static module_t load(const char* path) {
  return LoadLibraryA(path);
}
static void* find(module_t module, const char* name) {
  return (void*)(intptr_t)GetProcAddress(module, name);
}
#define CALLER_CLEANS __cdecl
#else
#include <dlfcn.h>
typedef void* module_t;
static module_t load(const char* path) {
  return dlopen(path, RTLD_NOW);
}
static void* find(module_t module, const char* name) {
  return dlsym(module, name);
}
#define CALLER_CLEANS
#endif
