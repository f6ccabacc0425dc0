#pragma once
// What a run of the program can be given instead of the machine's own: the
// clocks, the random source and the file system. A scripted run gives its
// set clocks and seeded draws; tests give a file system that fails.

namespace pelmora {

class Clocks;
class RandomSource;
class FileSystem;

struct ProgramParts {
  Clocks* clocks = nullptr;
  RandomSource* random = nullptr;
  FileSystem* fileSystem = nullptr;
};

}  // namespace pelmora
