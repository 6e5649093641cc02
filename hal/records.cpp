#include "hal/records.h"

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <string_view>

#include "hal/hal.h"
#include "sal/config.h"
#include "sal/xml.h"

namespace simcard::hal {
namespace {

constexpr const char *kRead = "sim_card_read_param";
constexpr const char *kWrite = "sim_card_write_param";
constexpr const char *kReplace = "_sim_combin_new_file_value";
constexpr uint16_t kRebuiltFile = 0x6F02;  // rewritten from scratch, never read first
constexpr size_t kWorkSlack = 1024;

struct FreeDeleter {
    void operator()(char *p) const { std::free(p); }
};
using HeapText = std::unique_ptr<char, FreeDeleter>;

// The text held in a buffer of `size` bytes: up to its NUL, or all of it.
std::string_view text_in(const char *buf, int size) {
    return {buf, strnlen(buf, static_cast<size_t>(size))};
}

int length_of(std::string_view text) { return static_cast<int>(text.size()); }

// Cuts the new text after the record's closing ">" and puts it over content.
// The text is first cut to what a buffer of `size` bytes holds, so a record
// that does not fit loses its ">" and is refused.
int finish(std::string result, char *content, int size) {
    if (result.size() > static_cast<size_t>(size - 1)) {
        result.resize(static_cast<size_t>(size - 1));
    }
    const size_t open = result.find('<');
    if (open == std::string::npos) {
        std::printf("simcard new content failed cant find < %s\n", result.c_str());
        return -1;
    }
    const size_t close = result.find('>', open);
    if (close == std::string::npos) {
        std::printf("simcard new content failed cant find > %s\n", result.c_str());
        return -1;
    }
    const size_t n = close - open + 1;
    std::memmove(content, result.data() + open, n);
    content[n] = '\0';
    return static_cast<int>(n);
}

std::string entry(const char *name, const char *value) {
    std::string text(name);
    text += "=\"";
    text += value;
    text += '"';
    return text;
}

bool arguments_given(const char *content, const char *name, const char *value) {
    if (content == nullptr || name == nullptr || value == nullptr) {
        std::puts("param is NULL");
        return false;
    }
    return true;
}

// A work buffer of no bytes cannot hold a record: taken as a failed allocation.
bool room_for_work(int size) {
    if (size <= 0) {
        std::puts("cant malloc mem to fill file data");
        return false;
    }
    return true;
}

}  // namespace

int replace_entry(char *content, const char *name, const char *value, int size) {
    if (!arguments_given(content, name, value)) {
        return -1;
    }
    if (*content == '\0') {
        std::puts("content length is 0");
        return 0;
    }
    if (!room_for_work(size)) {
        return -1;
    }
    const std::string_view text = text_in(content, size);
    try {
        const size_t open = text.find('<');
        if (open == std::string_view::npos) {
            std::printf("simcard content failed %.*s\n", length_of(text), text.data());
            return -1;
        }
        if (text.rfind('>') == std::string_view::npos) {
            std::printf("simcard conten failed %.*s\n", length_of(text), text.data());
            return -1;
        }
        // A plain substring search: a name inside an earlier value is found there.
        const size_t at = text.find(name);
        if (at == std::string_view::npos) {
            return 0;
        }
        std::string result(at >= open ? text.substr(open, at - open) : std::string_view());

        // Names are three characters: "=FF" or the opening quote sits at 4 and 5.
        std::string_view rest;
        if (at + 5 < text.size() && text[at + 4] == 'F' && text[at + 5] == 'F') {
            std::printf("[hal] %s: The param  %s = %c%c\n", kReplace, name, text[at + 4],
                        text[at + 5]);
            rest = text.substr(at + 6);
        } else {
            const size_t quote =
                at + 5 <= text.size() ? text.find('"', at + 5) : std::string_view::npos;
            if (quote == std::string_view::npos) {
                std::printf("[hal] %s: simcard content failed %.*s\n", kReplace, length_of(text),
                            text.data());
                return -1;
            }
            rest = text.substr(quote + 1);
        }
        result += entry(name, value);
        result += rest;
        return finish(std::move(result), content, size);
    } catch (const std::bad_alloc &) {
        std::puts("cant malloc mem to fill file data");
        return -1;
    }
}

int append_entry(char *content, const char *name, const char *value, int size) {
    if (!arguments_given(content, name, value) || !room_for_work(size)) {
        return -1;
    }
    const std::string_view text = text_in(content, size);
    try {
        if (text.empty()) {
            return finish("<" + entry(name, value) + ">", content, size);
        }
        const size_t open = text.find('<');
        const size_t close =
            open == std::string_view::npos ? std::string_view::npos : text.find('>', open);
        if (close == std::string_view::npos) {
            std::printf("simcard content failed %.*s\n", length_of(text), text.data());
            return -1;
        }
        std::string result(text.substr(open, close - open));
        result += ' ';
        result += entry(name, value);
        result += '>';
        return finish(std::move(result), content, size);
    } catch (const std::bad_alloc &) {
        std::puts("cant malloc mem to fill file data");
        return -1;
    }
}

int read_param(uint16_t dir, uint16_t file, const char *name, char *dest, size_t cap) {
    if (online() != 1) {
        std::puts("sim card is not online!");
        return -1;
    }
    const int file_len = select_file(dir, file);
    if (file_len < 0) {
        std::printf("libsimcard [%s] select file error\n", kRead);
        return -1;
    }
    if (file_len == 0) {
        return 0;
    }
    if (sim_session.content == nullptr) {
        sim_session.content =
            static_cast<char *>(std::calloc(static_cast<size_t>(file_len) + 1, 1));
        if (sim_session.content == nullptr) {
            std::printf("%s: malloc sim session content failed\n", kRead);
            return -1;
        }
    }
    if (sim_session.loaded == 0) {
        if (read_file(dir, file, sim_session.content, static_cast<uint16_t>(file_len)) != 0) {
            std::printf("libsimcard [%s] read file error...file id=0x%04x\n", kRead, file);
            drop_session_content();
            return -1;
        }
        sim_session.loaded = 1;
        note_text_loaded();
    }

    // The session text always ends inside its buffer. No name is found nowhere.
    const std::string_view text(sim_session.content);
    const size_t at = name != nullptr ? text.find(name) : std::string_view::npos;
    if (at == std::string_view::npos) {
        std::printf("libsimcard [%s] file %04X have no %s\n", kRead, file,
                    name != nullptr ? name : "(null)");
        return -1;
    }
    const size_t mark = at + std::strlen(name) + 1;  // just past the "="
    if (mark < text.size() && text[mark] == 'F') {
        return 1;
    }
    if (dest == nullptr) {
        return -1;
    }
    // A value without its closing quote runs to the end of the text.
    const size_t start = std::min(mark + 1, text.size());
    const size_t end = std::min(text.find('"', start), text.size());
    const size_t n = std::min(end - start, cap - 1);
    std::memcpy(dest, text.data() + start, n);
    dest[n] = '\0';
    return 0;
}

int write_param(uint16_t dir, uint16_t file, const char *name, const char *value) {
    if (online() != 1) {
        std::printf("[hal] %s: sim card is not online!\n", kWrite);
        return -1;
    }
    if (value == nullptr) {
        std::printf("[hal] %s: Argument buf is null!\n", kWrite);
        return -1;
    }
    // "FF" from the model means: leave the record as it is.
    if (std::strcmp(value, "FF") == 0) {
        std::printf("[hal] %s: value is FF,skip it\n", kWrite);
        return 0;
    }
    const int file_len = select_file(dir, file);
    if (file_len < 0) {
        std::printf("hal [%s] select file error...file len=%d\n", kWrite, file_len);
        return -1;
    }
    if (file_len == 0) {
        std::printf("[hal] %s: file_len = %d\n", kWrite, file_len);
    }

    // A missing name takes no room; the combining step refuses it below.
    const size_t work_size = (name != nullptr ? std::strlen(name) : 0) +
                             static_cast<size_t>(file_len) + std::strlen(value) + kWorkSlack;
    HeapText work(work_size <= INT_MAX ? static_cast<char *>(std::calloc(work_size, 1)) : nullptr);
    if (!work) {
        std::printf("%s: malloc np failed\n", kWrite);
        return -1;
    }
    if (file == kRebuiltFile) {
        sim_session.loaded = 1;
    }
    // Whether the text starts afresh here rather than going on from the
    // session's text of earlier rewrites.
    bool fresh = file_len == 0;
    if (file_len > 0 && sim_session.content == nullptr) {
        // One byte more than the file, so the text is always terminated.
        sim_session.content =
            static_cast<char *>(std::calloc(static_cast<size_t>(file_len) + 1, 1));
        if (sim_session.content == nullptr) {
            std::printf("%s: malloc sim session content failed\n", kWrite);
            return -1;
        }
        fresh = true;
    }
    if (file_len > 0 && sim_session.loaded == 0) {
        if (read_file(dir, file, sim_session.content, static_cast<uint16_t>(file_len)) != 0) {
            std::printf("hal [%s] read file error\n", kWrite);
            drop_session_content();
            return -1;
        }
        fresh = true;
    }
    sim_session.loaded = 1;
    if (sim_session.content != nullptr) {
        // The held text never exceeds file_len and is terminated within its buffer.
        if (file_len > 0) {
            const size_t n = std::min(strnlen(sim_session.content, static_cast<size_t>(file_len)),
                                      work_size - 1);
            std::memcpy(work.get(), sim_session.content, n);
        }
        std::free(sim_session.content);
    }
    sim_session.content = work.release();
    if (fresh) {
        note_text_loaded();
    }

    const int size = static_cast<int>(work_size);
    int result = replace_entry(sim_session.content, name, value, size);
    if (result == -1) {
        std::printf("[hal] %s: sim_combin_new_file_value error\n", kWrite);
        return -1;
    }
    if (result == 0) {
        result = append_entry(sim_session.content, name, value, size);
        if (result == -1) {
            std::printf("[hal] %s: sim_combin_new_file_value1 error\n", kWrite);
            return -1;
        }
    }
    // Not checked against the card file's size: the card decides on save.
    sim_session.file_len = result;
    return 0;
}

int write_param_to_file(int file_id, const char *name, const char *value) {
    if (name == nullptr || value == nullptr) {
        std::puts("param is NULL");
        return -1;
    }
    IXML_Node *node = sal::find_file_node(file_id);
    if (node == nullptr) {
        std::puts("node is NULL");
        return -1;
    }
    const int rc = write_param(kOperatorDir, static_cast<uint16_t>(file_id), name, value);
    if (rc != 0) {
        return rc;
    }
    // Written past the tree: the tree's copy is stale until read again.
    sal::xml::put_attr(node, "wf", "0");
    return 0;
}

}  // namespace simcard::hal
