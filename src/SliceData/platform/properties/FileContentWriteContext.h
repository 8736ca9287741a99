#pragma once

namespace VelAM {

/// How embedded files are written.
struct FileContentWriteContext {
  int format = 0;    ///< the only one
  int embedded = 0;  ///< 1: the content goes into the document; otherwise only the path of the file is told
};

}  // namespace VelAM
