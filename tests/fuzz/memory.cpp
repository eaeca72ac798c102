// SPDX-License-Identifier: MIT
#include "fuzz/memory.h"

namespace dfd_fuzz {

namespace {

constexpr std::uint32_t kPage = 4;
// The longest message of i2c-dev.
constexpr std::uint32_t kMaxTransfer = 8192;
constexpr int kFailed = -1;
constexpr int kMessages = 2;

}  // namespace

MemoryBytes memory_bytes(Input image) {
    MemoryBytes bytes;
    bytes.fill(0xFF);
    std::copy_n(image.begin(), std::min(image.size(), bytes.size()), bytes.begin());
    return bytes;
}

Memory::Memory(const MemoryBytes &bytes) : bytes_(bytes), outer_(dfd::watch::hooks) {
    hooks_.context = this;
    hooks_.answer = [](void *self, const dfd::watch::Transfer &transfer, int *result) {
        *result = static_cast<Memory *>(self)->transfer(transfer);
        return true;
    };
    hooks_.pause = [](void * /*self*/, unsigned /*us*/) { return true; };
    dfd::watch::hooks = &hooks_;
}

Memory::~Memory() {
    dfd::watch::hooks = outer_;
}

int Memory::transfer(const dfd::watch::Transfer &transfer) {
    if (transfer.via != dfd::watch::Via::i2c || std::string_view(transfer.path) != kBus ||
        transfer.addr != kAddr || transfer.len > kMaxTransfer) {
        return kFailed;
    }
    if (transfer.is_write && transfer.offset % kPage + transfer.len > kPage) {
        crossed_page_ = true;
    }
    for (std::uint32_t i = 0; i < transfer.len; ++i) {
        std::uint8_t &byte = bytes_[(transfer.offset + i) % kMemorySize];
        (transfer.is_write ? byte : transfer.data[i]) = transfer.is_write ? transfer.data[i] : byte;
    }
    return kMessages;
}

}  // namespace dfd_fuzz
