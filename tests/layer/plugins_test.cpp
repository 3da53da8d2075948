// SPDX-License-Identifier: Apache-2.0
// Two plug-ins that were built with different versions of the C++ layer work in one process:
//
//     layer_plugins local|global PLUGIN PLUGIN
//
// They are loaded in this order, with symbols for themselves or for all. A process tries one order: the
// loader keeps what it has once merged.
#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>

namespace {

struct Plugin {
  std::size_t (*memoryBytes)() = nullptr;
  const char *(*textOf)() = nullptr;
  int (*convertFormat)(const char *) = nullptr;
};

Plugin load(const char *path, int mode) {
  void *library = dlopen(path, RTLD_NOW | mode);
  if (library == nullptr) {
    std::fprintf(stderr, "%s\n", dlerror());
    std::exit(1);
  }
  Plugin plugin;
  plugin.memoryBytes = reinterpret_cast<std::size_t (*)()>(dlsym(library, "memoryBytes"));
  plugin.textOf = reinterpret_cast<const char *(*)()>(dlsym(library, "textOf"));
  plugin.convertFormat = reinterpret_cast<int (*)(const char *)>(dlsym(library, "convertFormat"));
  if (plugin.memoryBytes == nullptr || plugin.textOf == nullptr || plugin.convertFormat == nullptr)
    std::exit(1);
  return plugin;
}

}  // namespace

int main(int argc, char **argv) {
  if (argc != 4) return 1;
  const int mode = std::strcmp(argv[1], "global") == 0 ? RTLD_GLOBAL : RTLD_LOCAL;
  const Plugin plugins[] = {load(argv[2], mode), load(argv[3], mode)};
  int wrong = 0;
  const auto expect = [&](const char *what, bool good) {
    if (good) return;
    std::fprintf(stderr, "wrong: %s\n", what);
    ++wrong;
  };
  expect("both run the same code", plugins[0].memoryBytes() != plugins[1].memoryBytes() ||
                                       std::strcmp(plugins[0].textOf(), plugins[1].textOf()) != 0);
  for (const Plugin &plugin : plugins) {
    for (const char *name : {"Mono8", "BayerRG12", "YUV8_UYV", "Mono12p", "Mono10Packed", "BayerBG12Packed"})
      expect(name, plugin.convertFormat(name) == 1);
    expect("Mono9", plugin.convertFormat("Mono9") == 0);
  }
  return wrong == 0 ? 0 : 1;
}
