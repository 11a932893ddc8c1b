// The engine's contact with the XML tokenizer: the observer that receives the
// notifications of a parse, the abstract accessor and the factory that makes
// the engine's accessor.
#ifndef NORVANE_UTL_LIB_XML_ACCESSOR_H
#define NORVANE_UTL_LIB_XML_ACCESSOR_H

#include <map>
#include <string>

#include "utl_lib_xml_def.h"

namespace norvane {

// Names a file of the platform's file layer. The engine's accessor refuses
// file operations, so the record is carried but not interpreted.
struct utl_lib_xml_file {
    unsigned int drive = 0;
    unsigned int area = 0;
    std::string file_name;
};

// Receives the notifications of one parse. Qualified names arrive exactly as
// written in the document (prefix:local).
class utl_lib_xml_parse_observer {
public:
    virtual ~utl_lib_xml_parse_observer() = default;

    virtual void notify_xml_header(std::string& version, std::string& encoding) = 0;
    virtual void notify_element_start(std::string& name,
                                      std::map<std::string, std::string>& attributes) = 0;
    virtual void notify_element_end(std::string& name) = 0;
    virtual void notify_character_data(std::string& data) = 0;
    virtual void notify_error() = 0;
};

// Abstract accessor. Every operation returns UTL_LIB_XML_RET_OK or
// UTL_LIB_XML_RET_ERR, except get_current_parse_position (a byte index).
class utl_lib_xml_accessor {
public:
    virtual ~utl_lib_xml_accessor() = default;

    virtual int stat(utl_lib_xml_file& file) = 0;
    virtual int parse(utl_lib_xml_file& file) = 0;
    virtual int parse(std::string& xml) = 0;
    virtual unsigned long get_current_parse_position() = 0;
    virtual int open(utl_lib_xml_file& file, unsigned int mode) = 0;
    virtual int read(std::string& data, unsigned long& size) = 0;
    virtual int write(std::string& data, unsigned long& size) = 0;
    virtual int close() = 0;
};

// Makes the engine's accessor bound to an observer. The caller owns the
// result and deletes it through utl_lib_xml_accessor; null only when
// allocation fails.
class utl_lib_xml_accessor_factory {
public:
    static utl_lib_xml_accessor* create_accessor(utl_lib_xml_parse_observer* observer);
};

}  // namespace norvane

#endif
