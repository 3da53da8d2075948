// SPDX-License-Identifier: Apache-2.0
// Two plug-ins that were built with different versions of the C++ layer work in one process:
//
//     layer_plugins local|global PLUGIN FORMATS PLUGIN FORMATS
//
// They are loaded in this order, with symbols for themselves or for all. FORMATS is how many formats the
// layer of the plug-in has; the one with fewer has no Bayer formats of the kind "12p". A process tries one
// order: the loader keeps what it has once merged.
#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>

namespace {

struct Plugin {
  std::size_t formats = 0;
  std::size_t (*formatCount)() = nullptr;
  int (*convertFormat)(const char *) = nullptr;
};

Plugin load(const char *path, const char *formats, int mode) {
  void *library = dlopen(path, RTLD_NOW | mode);
  if (library == nullptr) {
    std::fprintf(stderr, "%s\n", dlerror());
    std::exit(1);
  }
  Plugin plugin;
  plugin.formats = std::strtoul(formats, nullptr, 10);
  plugin.formatCount = reinterpret_cast<std::size_t (*)()>(dlsym(library, "formatCount"));
  plugin.convertFormat = reinterpret_cast<int (*)(const char *)>(dlsym(library, "convertFormat"));
  if (plugin.formatCount == nullptr || plugin.convertFormat == nullptr) std::exit(1);
  return plugin;
}

}  // namespace

int main(int argc, char **argv) {
  if (argc != 6) return 1;
  const int mode = std::strcmp(argv[1], "global") == 0 ? RTLD_GLOBAL : RTLD_LOCAL;
  const Plugin plugins[] = {load(argv[2], argv[3], mode), load(argv[4], argv[5], mode)};
  int wrong = 0;
  for (const Plugin &plugin : plugins) {
    const auto expect = [&](const char *what, int got, int expected) {
      if (got == expected) return;
      std::fprintf(stderr, "plug-in of %zu formats: %s: %d, not %d\n", plugin.formats, what, got, expected);
      ++wrong;
    };
    expect("formats", static_cast<int>(plugin.formatCount()), static_cast<int>(plugin.formats));
    for (const char *name : {"Mono8", "BayerRG12", "YUV8_UYV", "Mono12p", "Mono10Packed", "BayerBG12Packed"})
      expect(name, plugin.convertFormat(name), 1);
    expect("BayerRG12p", plugin.convertFormat("BayerRG12p"), plugin.formats == 54 ? 1 : 0);
    expect("Mono9", plugin.convertFormat("Mono9"), 0);
  }
  return wrong == 0 ? 0 : 1;
}
