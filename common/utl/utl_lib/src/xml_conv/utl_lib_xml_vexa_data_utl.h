// Stateless helpers of the message classes: copying element records out of
// and into the platform's linked LIST, and base64 for binary schema values.
// Created on the caller's stack for one call.
#ifndef NORVANE_UTL_LIB_XML_VEXA_DATA_UTL_H
#define NORVANE_UTL_LIB_XML_VEXA_DATA_UTL_H

#include <string>
#include <vector>

#include "clb_list.h"

namespace norvane {

// Each list element is one block: a NODE header followed at sizeof(NODE) by
// a copy of the element record.
class utl_lib_xml_vexa_data_utl {
public:
    utl_lib_xml_vexa_data_utl();
    ~utl_lib_xml_vexa_data_utl() = default;

    // Copies size bytes of the payload of element index (from 1) into out.
    int get_list_data(LIST* list, int index, unsigned int size, void* out);
    // Appends count elements of size bytes each, taken from the array data.
    // Every new block's address is pushed onto allocated when it is given.
    int add_list(LIST* list, const void* data, unsigned int size, unsigned int count,
                 std::vector<void*>* allocated);
    // Standard base64 with padding and no line breaks. Always 0.
    int encode_base64(const std::vector<char>& data, std::string& text);
    // Strict base64; 1 and data untouched when text is not acceptable.
    int decode_base64(const std::string& text, std::vector<char>& data);

private:
    // The 6-bit value of a base64 character, or -1 outside the alphabet.
    static int decode_char_(char character);
};

}  // namespace norvane

#endif
