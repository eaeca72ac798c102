// SPDX-License-Identifier: MIT
// A power supply or converter with PMBus commands. Contents: two bytes per command code, least
// significant first. A command that the description does not mention is not acknowledged.
#pragma once

#include <map>

#include "../model.h"

namespace vchassis {

class Pmbus : public Slave {
  public:
    Pmbus(std::string path, const Section &section);

    bool start(bool read) override;
    bool write(std::uint8_t byte) override;
    std::uint8_t read() override;
    void stop() override;

    std::string summary() const override;
    std::vector<Named> named() const override;

  private:
    enum class Format { byte, word, linear11, linear16, text };
    struct Command {
        Format format;
        std::string text;
    };

    void load(const Section &section, const char *key, Format format);
    void put(const Section &table, const Section::Entry &entry, std::uint8_t code, Format format);
    void put_word(std::uint8_t code, std::uint16_t word);
    static std::size_t width(const Command &command);
    std::uint16_t word(std::uint8_t code) const;
    const Command *current() const;
    bool choose(std::uint8_t code);
    std::string reading(std::uint8_t code, const Command &command) const;

    std::map<std::uint8_t, Command> commands_;
    int vout_exponent_;
    bool expect_command_ = false;
    std::size_t index_ = 0;
    std::vector<std::uint8_t> pending_;
};

}  // namespace vchassis
