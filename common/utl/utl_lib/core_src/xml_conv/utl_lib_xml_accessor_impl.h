// The engine's accessor on expat.
//
// One parse of an in-memory document becomes a stream of notifications to
// the observer: element start with its attributes, the character data
// collected since the last start or end tag (handed over just before an end
// tag), element end, and error. The tokenizer runs without namespace
// processing, so names arrive as written. Its callbacks are class-wide and
// find their target through instance_, guarded by mutex_; one parse at a
// time in the process is the design.
#ifndef NORVANE_UTL_LIB_XML_ACCESSOR_IMPL_H
#define NORVANE_UTL_LIB_XML_ACCESSOR_IMPL_H

#include <expat.h>

#include <string>

#include "osw_os_wrapper.h"
#include "utl_lib_xml_accessor.h"

namespace norvane {

class utl_lib_xml_accessor_impl : public utl_lib_xml_accessor {
public:
    explicit utl_lib_xml_accessor_impl(utl_lib_xml_parse_observer* observer);
    ~utl_lib_xml_accessor_impl() override;
    utl_lib_xml_accessor_impl(const utl_lib_xml_accessor_impl&) = delete;
    utl_lib_xml_accessor_impl& operator=(const utl_lib_xml_accessor_impl&) = delete;

    int stat(utl_lib_xml_file& file) override;
    int parse(utl_lib_xml_file& file) override;
    int parse(std::string& xml) override;
    unsigned long get_current_parse_position() override;
    int open(utl_lib_xml_file& file, unsigned int mode) override;
    int read(std::string& data, unsigned long& size) override;
    int write(std::string& data, unsigned long& size) override;
    int close() override;

    // The instance's handlers, reached through the class-wide callbacks.
    void element_start(const XML_Char* name, const XML_Char** attributes);
    void character_data(const XML_Char* data, int length);
    void element_end(const XML_Char* name);

protected:
    // Installs every handler on the parser, in the tokenizer's fixed order.
    static int set_handler_(XML_Parser parser);

private:
    void notify_error_();
    // Registers this accessor as instance_ unless another one is registered.
    static void enter_(utl_lib_xml_accessor_impl* accessor);
    static void leave_();

    static void XMLCALL on_element_start_(void* user_data, const XML_Char* name,
                                          const XML_Char** attributes);
    static void XMLCALL on_element_end_(void* user_data, const XML_Char* name);
    static void XMLCALL on_character_data_(void* user_data, const XML_Char* data, int length);

    static void XMLCALL on_element_decl_(void* user_data, const XML_Char* name,
                                         XML_Content* model);
    static void XMLCALL on_attlist_decl_(void* user_data, const XML_Char* element_name,
                                         const XML_Char* attribute_name,
                                         const XML_Char* attribute_type,
                                         const XML_Char* default_value, int is_required);
    static void XMLCALL on_xml_decl_(void* user_data, const XML_Char* version,
                                     const XML_Char* encoding, int standalone);
    static void XMLCALL on_entity_decl_(void* user_data, const XML_Char* entity_name,
                                        int is_parameter_entity, const XML_Char* value,
                                        int value_length, const XML_Char* base,
                                        const XML_Char* system_id, const XML_Char* public_id,
                                        const XML_Char* notation_name);
    static void XMLCALL on_processing_instruction_(void* user_data, const XML_Char* target,
                                                   const XML_Char* data);
    static void XMLCALL on_comment_(void* user_data, const XML_Char* data);
    static void XMLCALL on_cdata_start_(void* user_data);
    static void XMLCALL on_cdata_end_(void* user_data);
    static void XMLCALL on_default_(void* user_data, const XML_Char* data, int length);
    static void XMLCALL on_doctype_start_(void* user_data, const XML_Char* doctype_name,
                                          const XML_Char* system_id, const XML_Char* public_id,
                                          int has_internal_subset);
    static void XMLCALL on_doctype_end_(void* user_data);
    static void XMLCALL on_namespace_start_(void* user_data, const XML_Char* prefix,
                                            const XML_Char* uri);
    static void XMLCALL on_namespace_end_(void* user_data, const XML_Char* prefix);
    static int XMLCALL on_not_standalone_(void* user_data);
    static int XMLCALL on_external_entity_ref_(XML_Parser parser, const XML_Char* context,
                                               const XML_Char* base, const XML_Char* system_id,
                                               const XML_Char* public_id);
    static void XMLCALL on_skipped_entity_(void* user_data, const XML_Char* entity_name,
                                           int is_parameter_entity);
    static int XMLCALL on_unknown_encoding_(void* handler_data, const XML_Char* name,
                                            XML_Encoding* info);

    utl_lib_xml_parse_observer* obs_;
    [[maybe_unused]] unsigned long fd_;  // set to 0 and never read
    std::string character_data_;
    XML_Parser xml_parser_;

    static utl_lib_xml_accessor_impl* instance_;
    static OSW_Mutex_Semaphore mutex_;
};

}  // namespace norvane

#endif
