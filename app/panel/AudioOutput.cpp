#include "app/panel/AudioOutput.h"

#include "app/panel/PortAudioOutput.h"

#include <utility>

namespace tessary {
namespace {

std::function<std::unique_ptr<AudioOutput>()> &maker() {
  static std::function<std::unique_ptr<AudioOutput>()> made;
  return made;
}

} // namespace

std::unique_ptr<AudioOutput> makeAudioOutput() {
  return maker() ? maker()() : std::make_unique<PortAudioOutput>();
}

void setAudioOutputMaker(std::function<std::unique_ptr<AudioOutput>()> made) {
  maker() = std::move(made);
}

} // namespace tessary
