#include "app/panel/QuietSound.h"

#include <dlfcn.h>
#include <initializer_list>

namespace tessary {
namespace {

struct Node; // of ALSA's configuration

// As the libraries declare them. Which of them there are depends on how PortAudio was built.
using AlsaHandler = void (*)(const char *, int, const char *, int, const char *, ...);
using JackHandler = void (*)(const char *);

// NOLINTNEXTLINE(cert-dcl50-cpp): the type is the library's
void dropFromAlsa(const char *, int, const char *, int, const char *, ...) {}
void dropFromJack(const char *) {}

template <typename Setter> Setter find(const char *name) {
  return reinterpret_cast<Setter>(::dlsym(RTLD_DEFAULT, name));
}

} // namespace

// PortAudio itself asks its libraries to start no server.
void keepSoundSystemQuiet() {
  if (const auto set = find<int (*)(AlsaHandler)>("snd_lib_error_set_handler")) set(dropFromAlsa);
  for (const char *name : {"jack_set_error_function", "jack_set_info_function"})
    if (const auto set = find<void (*)(JackHandler)>(name)) set(dropFromJack);
}

// PortAudio takes it for granted that ALSA's configuration names the device "default".
bool isSoundSystemSetUp() {
  using Configuration = Node;
  const auto update = find<int (*)()>("snd_config_update");
  const auto search = find<int (*)(Configuration *, const char *, Configuration **)>("snd_config_search");
  const auto top = find<Configuration **>("snd_config");
  if (!update || !search || !top) return true; // another sound system
  Configuration *device = nullptr;
  return update() >= 0 && *top && search(*top, "pcm.default", &device) >= 0;
}

} // namespace tessary
