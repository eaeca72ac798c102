// SPDX-License-Identifier: MIT
// Plain files and pauses: the only place of the framework that asks the system for them.
#pragma once

#include <cstdio>

namespace dfd {

// A text file read line by line; closed at the end of its life. A failed open leaves errno.
class LineReader {
  public:
    explicit LineReader(const char *path);
    ~LineReader();
    LineReader(const LineReader &) = delete;
    LineReader &operator=(const LineReader &) = delete;

    bool is_open() const { return file_ != nullptr; }
    // At most size - 1 characters of the next line, its line end included; false at the end, and
    // when reading fails.
    bool next(char *line, int size);
    // The errno of the read that failed; 0 for none.
    int error() const { return error_; }

  private:
    std::FILE *file_;
    int error_ = 0;
};

inline constexpr int kCannotOpen = -2;

// Opens read-only, reads once, closes. The number of bytes read; kCannotOpen; -1 for a failed read.
int read_file(const char *path, void *buf, int len);

bool file_exists(const char *path);

void pause_us(unsigned us);

}  // namespace dfd
