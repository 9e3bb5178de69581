// make_library_image FOLDER writes disk.hda there, and bank.expected, which is what lies on it as
// /Drums/KICK.
#include "tests/support/BankBuilder.h"
#include "tests/support/ImageBuilder.h"

#include <fstream>
#include <string>

using namespace tessary::test;

int main(int argc, char **argv) {
  if (argc != 2) return 2;
  const std::string folder = argv[1];
  const Bytes bank = IffBank().preset("Kick").sample("Kick C1", patternBytes(3000)).build();
  ImageBuilder image;
  FolderBuilder drums = image.root().addFolder("Drums");
  drums.addFile("KICK", bank);
  drums.addFolder("Old").addFile("bell\a", patternBytes(512));
  image.root().addFile("EMPTY", {});
  image.writeTo(folder + "/disk.hda");
  std::ofstream(folder + "/bank.expected", std::ios::binary)
      .write(reinterpret_cast<const char *>(bank.data()), static_cast<std::streamsize>(bank.size()));
  return 0;
}
