#pragma once

#include <string>

#include "ByteView.h"
#include "Face.h"

/// The parts of a font program in a PFB (Adobe Technical Note 5040), a PFA, or the text of a Mac
/// printer font: the clear text and what `eexec` encrypted. Says of a PFB's segments what is wrong
/// with them; where they cannot be trusted, the text decides. Views of the file or, of parts that
/// lie in several segments, of a copy.
class ProgramParts {
  public:
    ProgramParts(ByteView file, Face& face);
    ProgramParts(const ProgramParts&) = delete;
    ProgramParts& operator=(const ProgramParts&) = delete;

    /// Whether a file begins with a PFB's segment, with 0x80 or, in damaged ones, 0x00.
    static bool isSegmented(ByteView file);

    ByteView clear() const { return clear_; }
    /// Empty when the program has no such part.
    ByteView encrypted() const { return encrypted_; }

  private:
    void readSegments(ByteView file, Face& face);
    void splitText(ByteView text);

    ByteView clear_;
    ByteView encrypted_;
    std::string joinedClear_;
    std::string joinedEncrypted_;
};
