#include "tests/support/BankBuilder.h"
#include "tests/support/SampleVolumes.h"
#include "tests/support/Synth.h"

#include <string_view>
#include <utility>

namespace tessary::test {

namespace {

struct DemoSample {
  std::string_view name;
  Bytes audio;
};

/// An Emulator IV bank. Each sample has a chunk identifier of its own, so that each can be taken out.
Bytes emulatorFourBank(const std::vector<std::string_view> &presets, const std::vector<DemoSample> &samples) {
  IffBank bank;
  for (const auto preset : presets)
    bank.preset(preset);
  char number = '1';
  for (const auto &sample : samples)
    bank.sample(sample.name, sample.audio, std::string("E4S") + number++);
  return bank.build();
}

void addBank(FolderBuilder &folder, std::string_view name, const std::vector<std::string_view> &presets,
             const std::vector<DemoSample> &samples) {
  folder.addFile(name, emulatorFourBank(presets, samples), {.e4b0Mark = true});
}

void addDrums(FolderBuilder root) {
  auto drums = root.addFolder("Drums", {.blockCount = 2});
  addBank(drums, "Acoustic Kit", {"Acoustic Kit", "Kit Soft", "Kit Room"},
          {{"Kick 22 in", sineSweep(120, 42, 0.5)},
           {"Snare 14 in", noiseBurst(0.4, 0.08, 2)},
           {"Tom Low", sineSweep(150, 80, 0.6)},
           {"Ride Edge", noiseBurst(1.2, 0.5, 3)}});
  addBank(drums, "Brush Kit", {"Brush Kit", "Brush Swirls"},
          {{"Brush Tap", noiseBurst(0.25, 0.05, 4)}, {"Brush Swirl", noiseBurst(0.9, 0.6, 5)}});
  addBank(drums, "Electro Kit", {"Electro Kit", "Electro Dry", "Electro Long", "Zaps"},
          {{"Kick Long", sineSweep(180, 35, 0.9)},
           {"Clap", noiseBurst(0.3, 0.06, 6)},
           {"Hat Closed", noiseBurst(0.1, 0.02, 7)},
           {"Hat Open", noiseBurst(0.5, 0.2, 8)},
           {"Zap", sineSweep(4000, 90, 0.3)}});
  addBank(drums, "Tight Snares", {"Tight Snares"},
          {{"Snare Tight 1", noiseBurst(0.2, 0.04, 9)}, {"Snare Tight 2", noiseBurst(0.22, 0.05, 10)}});
  addBank(drums, "Cymbals & Hats", {"Cymbals & Hats", "Chokes"},
          {{"Crash 16 in", noiseBurst(2.0, 0.8, 11)}, {"Splash", noiseBurst(0.8, 0.3, 12)}});
  addBank(drums, "Hand Drums", {"Hand Drums", "Slaps"},
          {{"Open Tone", struck(196, 0.5)}, {"Slap", noiseBurst(0.15, 0.03, 13)}});
  addBank(drums, "Big Room Toms", {"Big Room Toms"},
          {{"Tom High", sineSweep(220, 130, 0.8)}, {"Tom Floor", sineSweep(110, 60, 1.1)}});

  auto loops = drums.addFolder("Loops");
  addBank(loops, "Break 92 bpm", {"Break 92 bpm"}, {{"Break Bar", noiseBurst(2.6, 0.9, 14)}});
  addBank(loops, "Half-Time 70", {"Half-Time 70", "Half-Time Dub"},
          {{"Half-Time Bar", noiseBurst(3.4, 1.4, 15)}});
}

void addMelodicBanks(FolderBuilder root) {
  auto basses = root.addFolder("Basses");
  addBank(
      basses, "Upright Bass", {"Upright Bass", "Upright Muted"},
      {{"Upright E1", pluck(41.2, 2.0)}, {"Upright A1", pluck(55, 2.0)}, {"Upright D2", pluck(73.4, 1.8)}});
  addBank(basses, "Fretless Slide", {"Fretless Slide"},
          {{"Slide G1", sineSweep(44, 49, 1.5)}, {"Slide D2", sineSweep(65, 73.4, 1.5)}});
  addBank(basses, "Picked Bass", {"Picked Bass", "Picked + Amp"},
          {{"Picked E1", pluck(41.2, 1.2)}, {"Picked A1", pluck(55, 1.2)}, {"Picked D2", pluck(73.4, 1.1)}});
  addBank(basses, "Sub Sine", {"Sub Sine"}, {{"Sub C1", sineSweep(32.7, 32.7, 1.5)}});

  auto pads = root.addFolder("Pads");
  addBank(pads, "Glass Pad", {"Glass Pad", "Glass + Air"},
          {{"Glass C4", swell(261.6, 3.0)}, {"Glass G4", swell(392, 2.6)}});
  addBank(pads, "Warm Sweep", {"Warm Sweep"}, {{"Warm C3", swell(130.8, 3.0)}, {"Warm G3", swell(196, 3.0)}});
  addBank(pads, "Caf\xC3\xA9 Choir", {"Caf\xC3\xA9 Choir"},
          {{"Ooh A3", swell(220, 2.5)}, {"Ooh E4", swell(329.6, 2.5)}});
  addBank(pads, "Slow Dawn", {"Slow Dawn", "Slow Dusk", "Slow Night"}, {{"Dawn D3", swell(146.8, 4.0)}});

  auto strings = root.addFolder("Strings");
  addBank(strings, "Chamber Violins", {"Chamber Violins"},
          {{"Vlns G3", bowed(196, 1.6)}, {"Vlns A4", bowed(440, 2.0)}, {"Vlns E5", bowed(659.3, 2.0)}});
  addBank(strings, "Celli Legato", {"Celli Legato", "Celli Sordino"},
          {{"Celli C2", bowed(65.4, 2.5)}, {"Celli G2", bowed(98, 1.6)}, {"Celli D3", bowed(146.8, 1.5)}});
  addBank(strings, "Pizz Section", {"Pizz Section", "Pizz Octaves"},
          {{"Pizz G3", pluck(196, 0.8)}, {"Pizz D4", pluck(293.7, 0.7)}, {"Pizz A4", pluck(440, 0.6)}});

  auto keys = root.addFolder("Keys");
  addBank(
      keys, "Felt Piano", {"Felt Piano", "Felt Wide"},
      {{"Felt C3", struck(130.8, 2.2)}, {"Felt C4", struck(261.6, 2.0)}, {"Felt C5", struck(523.3, 1.5)}});
  addBank(
      keys, "Tonewheel", {"Tonewheel", "Tonewheel Slow"},
      {{"Wheel C3", swell(130.8, 1.5)}, {"Wheel C4", swell(261.6, 1.5)}, {"Wheel C5", swell(523.3, 1.5)}});
}

void addEffects(FolderBuilder root) {
  auto effects = root.addFolder("FX");
  addBank(effects, "Risers", {"Risers", "Fallers"},
          {{"Rise 4 s", sineSweep(60, 6000, 4.0)}, {"Fall 2 s", sineSweep(6000, 60, 2.0)}});
  addBank(effects, "Impacts", {"Impacts"},
          {{"Impact Deep", sineSweep(90, 25, 1.8)}, {"Impact Metal", noiseBurst(1.5, 0.4, 16)}});
  addBank(effects, "Vinyl & Hiss", {"Vinyl & Hiss"}, {{"Hiss", noiseBurst(2.0, 5.0, 17)}});
}

/// Banks that came along from the samplers owned before.
void addEarlierBanks(FolderBuilder root) {
  auto earlier = root.addFolder("Earlier Banks");
  auto three = earlier.addFolder("Emulator III");
  three.addFile("Grand Piano", emulatorThreeBank("Grand Piano", 5, 12));
  three.addFile("Slow Strings", emulatorThreeBank("Slow Strings", 3, 8));
  three.addFile("Orch Percussion", emulatorThreeBank("Orch Percussion", 9, 31), {.type = 0x83});
  auto threeX = earlier.addFolder("Emulator 3X");
  threeX.addFile("Solo Saxes", emulator3XBank("Solo Saxes", 4, 16));
  threeX.addFile("Mixed Choir", emulator3XBank("Mixed Choir", 6, 24));
  auto esi = earlier.addFolder("ESI-32");
  esi.addFile("Guitar Chords", esi32Bank("Guitar Chords", 7, 14));
  esi.addFile("Perc Loops", esi32Bank("Perc Loops", 2, 10));
}

} // namespace

ImageBuilder demoVolume() {
  ImageBuilder image({.sizeBytes = 64 * kMiB, .slotSizeBlocks = 1024});
  const auto root = image.root();
  addDrums(root);
  addMelodicBanks(root);
  addEffects(root);
  addEarlierBanks(root);
  image.root().addFolder("Sketches");
  image.root().addFile("System Software", patternBytes(200 * 1024, 7), {.type = 0x80});
  image.root().addFile("Notes", bytesOf("Spring takes: drums at 92, keep the Caf\xC3\xA9 Choir dry.\r\n"),
                       {.type = 0x82});
  return image;
}

} // namespace tessary::test
