// SPDX-License-Identifier: MIT
#include "bench/board_files.hpp"

#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <string>
#include <vector>

#include "framework/dfd_lib_cfg/key_table.h"

namespace fs = std::filesystem;

namespace bench {

namespace {

constexpr int kMembers = 10;

/// What is left of the indexes in a key.
constexpr int kMostIndex1 = 65535;
constexpr int kMostIndex2 = 255;

int count_of(int max_index, int most) {
    return max_index == dfd::kNoIndex ? 1 : std::min(max_index, most) + 1;
}

int units_of(const dfd::KeyRow &row) {
    return count_of(row.max_index1, kMostIndex1) * count_of(row.max_index2, kMostIndex2);
}

std::string index_part(const dfd::KeyRow &row, int unit) {
    if (row.max_index1 == dfd::kNoIndex) {
        return "";
    }
    if (row.max_index2 == dfd::kNoIndex) {
        return "_" + std::to_string(unit);
    }
    const int per_index1 = count_of(row.max_index2, kMostIndex2);
    return "_" + std::to_string(unit / per_index1) + "_" + std::to_string(unit % per_index1);
}

/// How many units of each type, at most, make this many items.
int units_per_type(const std::vector<const dfd::KeyRow *> &rows, int items) {
    int units = 0;
    for (int made = 0; made < items;) {
        ++units;
        made = 0;
        for (const dfd::KeyRow *row : rows) {
            made += std::min(units, units_of(*row));
        }
    }
    return units;
}

void write_item(std::ofstream &out, const dfd::KeyRow &row, int unit, int lines) {
    constexpr int kBits = 8;
    const std::string bit = std::to_string(unit % kBits);
    const std::string values[kMembers][2] = {{".mode", "config"},    {".int_cons", "0"},
                                             {".src", "localbus"},   {".frmt", "bit"},
                                             {".pola", "negative"},  {".fpath", "/dev/cpld" + bit},
                                             {".addr", "0x5" + bit}, {".reg_offset", "0x1" + bit},
                                             {".len", "1"},          {".bit_offset", bit}};
    for (int i = 0; i < std::min(kMembers, lines); ++i) {
        out << row.name << values[i][0] << index_part(row, unit) << '=' << values[i][1] << '\n';
    }
}

}  // namespace

void write_items(const fs::path &path, int lines, const char *header) {
    std::vector<const dfd::KeyRow *> rows;
    for (const dfd::KeyRow &row : dfd::kKeyTable) {
        if (row.kind == dfd::Kind::info_ctrl) {
            rows.push_back(&row);
        }
    }
    const int units = units_per_type(rows, (lines + kMembers - 1) / kMembers);
    std::ofstream out(path);
    if (*header != '\0') {
        out << header << '\n';
    }
    for (const dfd::KeyRow *row : rows) {
        for (int unit = 0; unit < std::min(units, units_of(*row)) && lines > 0; ++unit) {
            write_item(out, *row, unit, lines);
            lines -= kMembers;
        }
    }
}

const fs::path &scratch_directory() {
    struct Directory {
        fs::path path =
            (fs::is_directory("/dev/shm") ? fs::path("/dev/shm") : fs::temp_directory_path()) /
            ("dfd-bench-" + std::to_string(getpid()));
        Directory() { fs::create_directories(path); }
        ~Directory() { fs::remove_all(path); }
    };
    static const Directory directory;
    return directory.path;
}

}  // namespace bench
