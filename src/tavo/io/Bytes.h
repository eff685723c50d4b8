// Where bytes come from and where they go to.
#pragma once

#include "tavo/Export.h"

#include <cstddef>
#include <string>
#include <string_view>

namespace tavo {

/// Something that bytes are read from, front to back.
class TAVO_EXPORT ByteSource {
public:
  virtual ~ByteSource() = default;
  /// Reads up to `size` bytes to `to`; fewer than asked for do not mean the end, none does. Raises what the source
  /// raises.
  virtual std::size_t read(char* to, std::size_t size) = 0;
  /// Goes back to the front; false where that cannot be. Raises what the source raises.
  virtual bool restart() { return false; }
};

/// Something that bytes are written to, front to back.
class TAVO_EXPORT ByteSink {
public:
  virtual ~ByteSink() = default;
  /// Takes all of the bytes or raises.
  virtual void write(std::string_view bytes) = 0;
};

/// Reads from memory that must outlive it.
class TAVO_EXPORT MemorySource final : public ByteSource {
public:
  explicit MemorySource(std::string_view bytes) : bytes_(bytes), left_(bytes) {}
  std::size_t read(char* to, std::size_t size) override {
    const std::size_t taken = left_.copy(to, size);
    left_.remove_prefix(taken);
    return taken;
  }
  bool restart() override {
    left_ = bytes_;
    return true;
  }

private:
  std::string_view bytes_, left_;
};

/// Appends to a string that must outlive it.
class TAVO_EXPORT MemorySink final : public ByteSink {
public:
  explicit MemorySink(std::string& bytes) : bytes_(bytes) {}
  void write(std::string_view bytes) override { bytes_ += bytes; }

private:
  std::string& bytes_;
};

} // namespace tavo
