#pragma once
// The map operations from the command line:
//   --tighten-map SONG.mp3 IN.map OUT.map
//   --transfer-map FROM.mp3 FROM.map TO.mp3 OUT.map
// with the play settings of --config-dir DIR (the built-in ones when the
// folder holds no "Mellivane.ini").

namespace mv::align {

// When argv asks for a map operation, runs it and returns the exit code:
// 0 with one summary line on stdout, 2 with a message on stderr and nothing
// written.  Returns -1 when argv asks for neither (the program starts).
int runAlignCommand(int argc, char** argv);

} // namespace mv::align
