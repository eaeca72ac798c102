// SPDX-License-Identifier: MIT
// FRU images as libfreeipmi reads them. In a file of its own: its headers declare a function that
// the library has under the same name.
#pragma once

#include <memory>

#include "fuzz/layouts.h"

namespace dfd_check {

inline constexpr std::size_t kMaxCustom = 64;

class Peer {
  public:
    Peer();
    ~Peer();
    Peer(const Peer &) = delete;
    Peer &operator=(const Peer &) = delete;

    // The fields of the product info area as far as they were read; false where the image is
    // refused.
    bool read(const dfd_fuzz::MemoryBytes &image, std::vector<dfd_fuzz::FruField> *fields,
              std::uint8_t *language);
    // The text of a field; nothing where it gives none.
    std::optional<std::string> text_of(const dfd_fuzz::FruField &field, std::uint8_t language);

  private:
    struct Library;
    std::unique_ptr<Library> library_;
};

}  // namespace dfd_check
