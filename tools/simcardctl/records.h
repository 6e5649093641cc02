// A card file's record text (<P00="v" P01=FF>) read strictly, as the library
// writes it: which records stand whole, what is broken, and a whole text made
// of records from two sources. The library itself reads records by plain text
// search and rewrites them only while the text has its "<" and ">", so a text
// cut part-way by a failed write stops its synchronisation for good.
#ifndef SIMCARD_TOOLS_SIMCARDCTL_RECORDS_H
#define SIMCARD_TOOLS_SIMCARDCTL_RECORDS_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace simcard::tool {

struct Record {
    std::string name;
    std::optional<std::string> value;  // none: FF, unset
};

struct Reading {
    std::vector<Record> whole;          // in text order, each name once
    std::vector<std::string> problems;  // empty when the text is sound
    // The record text closed with ">" and nothing in it was cut short: no
    // record can have been lost behind a break.
    bool complete = false;
    std::optional<std::string> cut;  // the record (or name) the text breaks in
    bool has(const std::string &name) const;
    const Record *find(const std::string &name) const;
};

// Reads text, the file's bytes up to the first NUL; an empty text holds no
// record and is sound. `expected` are the records the configuration document
// names for the file: each must stand whole.
Reading read_records(std::string_view text, const std::vector<std::string> &expected = {});

// `<P00="v" P01=FF>`
std::string record_text(const std::vector<Record> &records);

// Where a record of a mended text comes from.
enum class Source { Card, Factory, Neither };

struct Mended {
    Record record;
    Source source;
};

// Whether mending the card's text needs the factory contents: a record the
// document expects is not whole on the card, or records may have been lost
// behind a break.
bool needs_factory(const Reading &card, const std::vector<std::string> &expected);

// The records that stood whole on the card; the factory's records that the
// card lost (all of them behind a break, else the expected ones); the
// expected records in neither text, unset. In the order of `expected`, then
// the others in the order they came.
std::vector<Mended> mend(const Reading &card, const Reading &factory,
                         const std::vector<std::string> &expected);

// A card file read through the library: all its bytes; none when it cannot
// be selected or read.
std::optional<std::string> read_card_file(uint16_t id);

// Writes all of a card file's bytes through the library and reads them back:
// whether the card holds them now.
bool write_card_file(uint16_t id, std::string bytes);

// The text of a card file's bytes: up to the first NUL.
std::string_view text_of(std::string_view bytes);

}  // namespace simcard::tool

#endif  // SIMCARD_TOOLS_SIMCARDCTL_RECORDS_H
