#include "quoted_file_name.h"

#include <cstring>
#include <cwchar>
#include <cwctype>
#include <vector>

namespace norvane {

namespace {

// One character of the name: a byte, or the bytes of one multibyte
// character, and what it asks of the quoting.
struct name_char {
    std::string bytes;
    bool forces_quotes = false;  // the name cannot stand bare
    bool fits_quotes = false;    // may stand inside "..." unescaped
    char escape_letter = 0;      // written as $'\<letter>'
    bool escape_octal = false;   // each byte written as $'\ooo'
};

bool is_one_of_(char c, const char* set)
{
    return c != '\0' && std::strchr(set, c) != nullptr;
}

char escape_letter_(char c)
{
    switch (c) {
    case '\a': return 'a';
    case '\b': return 'b';
    case '\f': return 'f';
    case '\n': return 'n';
    case '\r': return 'r';
    case '\t': return 't';
    case '\v': return 'v';
    default: return 0;
    }
}

name_char classify_ascii_(char c, size_t index, size_t name_length)
{
    name_char result;
    result.bytes.assign(1, c);
    const bool first = index == 0;
    const bool alone = name_length == 1;
    result.escape_letter = escape_letter_(c);
    if (result.escape_letter != 0 || is_one_of_(c, "!\"$&()*;<=>[^`|?\\")) {
        result.forces_quotes = true;
    } else if (is_one_of_(c, "%+,-./0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ]_abcdefghijklmnopqrstuvwxyz@")) {
        result.fits_quotes = true;
    } else if (c == ':' || c == ' ' || c == '\'') {
        // Colons are quoted in messages; spaces and quotes everywhere.
        result.forces_quotes = true;
        result.fits_quotes = true;
    } else if (c == '{' || c == '}') {
        result.forces_quotes = alone;
        result.fits_quotes = alone;
    } else if (c == '#' || c == '~') {
        result.forces_quotes = first;
        result.fits_quotes = first;
    } else {
        // Control characters and DEL.
        result.forces_quotes = true;
        result.escape_octal = true;
    }
    return result;
}

// Splits the name into characters of the current LC_CTYPE locale: a byte
// that starts no valid character stands alone, and an incomplete character
// at the end takes the rest of the name.
std::vector<name_char> classify_(const std::string& name)
{
    std::vector<name_char> chars;
    std::mbstate_t state{};
    size_t index = 0;
    while (index < name.size()) {
        const unsigned char byte = static_cast<unsigned char>(name[index]);
        if (byte < 0x80) {
            chars.push_back(classify_ascii_(name[index], index, name.size()));
            ++index;
            continue;
        }
        name_char wide;
        wide.forces_quotes = true;
        wide.escape_octal = true;
        wchar_t character = 0;
        const size_t length =
            std::mbrtowc(&character, name.data() + index, name.size() - index, &state);
        if (length == static_cast<size_t>(-2)) {
            wide.bytes = name.substr(index);
        } else if (length == static_cast<size_t>(-1) || length == 0) {
            wide.bytes = name.substr(index, 1);
            state = std::mbstate_t{};
        } else {
            wide.bytes = name.substr(index, length);
            if (std::iswprint(static_cast<wint_t>(character))) {
                wide.forces_quotes = false;
                wide.escape_octal = false;
                wide.fits_quotes = true;
            }
        }
        index += wide.bytes.size();
        chars.push_back(wide);
    }
    return chars;
}

std::string octal_(unsigned char byte)
{
    const char digits[] = {'\\', static_cast<char>('0' + (byte >> 6)),
                           static_cast<char>('0' + ((byte >> 3) & 7)),
                           static_cast<char>('0' + (byte & 7))};
    return std::string(digits, sizeof digits);
}

// '...' with each single quote written as '\'' and every character that
// cannot be shown written in a $'...' part of its own. in_escape says whether
// a $'...' part is open: on entry, and on return whether the last one is.
std::string single_quoted_(const std::vector<name_char>& chars, bool& in_escape)
{
    std::string quoted = "'";
    for (const name_char& each : chars) {
        if (each.escape_letter != 0 || each.escape_octal) {
            if (!in_escape) {
                quoted += "'$'";
                in_escape = true;
            }
            if (each.escape_letter != 0) {
                quoted += '\\';
                quoted += each.escape_letter;
            } else {
                for (char byte : each.bytes) {
                    quoted += octal_(static_cast<unsigned char>(byte));
                }
            }
        } else if (each.bytes == "'") {
            quoted += "'\\''";
            in_escape = false;
        } else {
            if (in_escape) {
                quoted += "''";
                in_escape = false;
            }
            quoted += each.bytes;
        }
    }
    return quoted + "'";
}

}  // namespace

std::string quoted_file_name(const std::string& name)
{
    if (name.empty()) {
        return "''";
    }
    const std::vector<name_char> chars = classify_(name);
    bool forced = false;
    bool all_fit_double = true;
    bool has_single_quote = false;
    for (const name_char& each : chars) {
        forced = forced || each.forces_quotes;
        all_fit_double = all_fit_double && each.fits_quotes;
        has_single_quote = has_single_quote || each.bytes == "'";
    }
    if (!forced) {
        return name;
    }
    // An apostrophe reads better in double quotes when nothing else needs
    // escaping there.
    if (has_single_quote && all_fit_double) {
        return "\"" + name + "\"";
    }
    bool in_escape = false;
    std::string quoted = single_quoted_(chars, in_escape);
    if (has_single_quote) {
        // coreutils quotes such a name twice, first only to learn that double
        // quotes will not do, and the second time starts with the $'...'
        // part that the first left open, if any: "''" then goes before the
        // first character that is shown as it is.
        quoted = single_quoted_(chars, in_escape);
    }
    return quoted;
}

}  // namespace norvane
