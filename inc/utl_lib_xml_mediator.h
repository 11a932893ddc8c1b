// The XML binding engine's base class: a schema-driven binding between XML
// documents and the caller's memory.
//
// A derived schema class describes its vocabulary by answering the
// registration hooks (namespaces, enums, structs, interfaces, xaddrs and their
// actions, rules). At the start of every parse and write cycle the mediator
// rebuilds from those answers one element tree per interface and the xaddrs
// (integer IDs naming element paths), to which the derived class attaches
// automatic targets in its own memory and interrupt callbacks.
//
// Parsing follows the accessor's notifications down the element tree and
// stores each element's text into the targets of its xaddrs. Writing runs the
// derived class's request_store_xaddr(), whose store_xaddr_* calls append the
// document piece by piece to an output string.
#ifndef NORVANE_UTL_LIB_XML_MEDIATOR_H
#define NORVANE_UTL_LIB_XML_MEDIATOR_H

#include <bitset>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "utl_lib_xml_accessor.h"
#include "utl_lib_xml_def.h"
#include "utl_lib_xml_enum.h"
#include "utl_lib_xml_struct.h"

namespace norvane {

class utl_lib_xml_mediator : public utl_lib_xml_parse_observer {
public:
    // Bit numbers of my_state_: what the mediator is doing right now.
    enum MY_STATE {
        MY_STATE_PARSING = 0,
        MY_STATE_WRITING = 1,
        MY_STATE_REGISTER_NAMESPACE = 2,
        MY_STATE_REGISTER_ENUM = 3,
        MY_STATE_REGISTER_ENUM_MEMBER = 4,
        MY_STATE_REGISTER_STRUCT = 5,
        MY_STATE_REGISTER_STRUCT_MEMBER = 6,
        MY_STATE_REGISTER_INTERFACE = 7,
        MY_STATE_REGISTER_XADDR = 8,
        MY_STATE_REGISTER_XADDR_ACTION = 9,
        MY_STATE_REGISTER_RULE = 10,
        MY_STATE_STORE_ELEMENT = 11,
        MY_STATE_FILE = 12,
        MY_STATE_BUFF = 13,
        MY_STATE_MAX = 14
    };

    // Chunk size of read(file, ...).
    static constexpr unsigned int XML_FILE_READ_SIZE = 1024;

    struct utl_lib_xml_namespace_info {
        std::string prefix;
        std::string uri;
    };

    // One element position of an interface's tree.
    struct utl_lib_xml_element_info {
        std::string q_name;       // as written in documents: prefix:local or local
        std::string local_name;
        unsigned int namespace_id = 0;
        UTL_LIB_XML_ELEMENT_TYPE type = UTL_LIB_XML_ELEMENT_TYPE_UNKNOWN;
        unsigned int id = 0;      // enum or struct ID, 0 otherwise
        std::set<unsigned int> xaddr_id_list;               // xaddrs naming this element
        std::vector<utl_lib_xml_element_info> element_list;  // children in member order
    };

    // An automatic target of an element's text.
    struct utl_lib_xaddr_data_auto_setting_info {
        UTL_LIB_XADDR_DATA_TYPE type = XADDR_DATA_TYPE_UNKNOWN;
        void* addr = nullptr;     // caller's memory, not owned
        int size = 0;             // bytes
        BOOL exist_data = FALSE;  // a value was stored for the open element
    };

    // An automatic target of an attribute's value.
    struct utl_lib_xaddr_attr_auto_setting_info {
        std::string attr_name;    // local name, without prefix
        UTL_LIB_XADDR_DATA_TYPE type = XADDR_DATA_TYPE_UNKNOWN;
        void* addr = nullptr;
        int size = 0;
    };

    struct utl_lib_xaddr_interrupt_info {
        UTL_LIB_XML_INTERRUPT_TYPE type = UTL_LIB_XML_INTERRUPT_TYPE_UNKNOWN;
        unsigned int interrupt_id = 0;
    };

    utl_lib_xml_mediator();
    ~utl_lib_xml_mediator() override;
    utl_lib_xml_mediator(const utl_lib_xml_mediator&) = delete;
    utl_lib_xml_mediator& operator=(const utl_lib_xml_mediator&) = delete;

    // Observer notifications, called by the accessor during a parse.
    void notify_xml_header(std::string& version, std::string& encoding) override;
    void notify_element_start(std::string& name,
                              std::map<std::string, std::string>& attributes) override;
    void notify_element_end(std::string& name) override;
    void notify_character_data(std::string& data) override;
    void notify_error() override;

    // Parse cycles. The file forms go through the accessor's file operations,
    // which the engine's accessor refuses.
    int parse(std::string& xml);
    int parse(utl_lib_xml_file& file);
    int read(utl_lib_xml_file& file, std::string& out, unsigned int& size);
    unsigned long get_current_parse_position();

    // Write cycles: out receives the document (appended to what it holds);
    // header 1 puts the XML declaration first.
    int write(std::string& out, int header);
    int write(utl_lib_xml_file& file, int header);
    int write_direct(utl_lib_xml_file& file, std::string& data);

    // Escaping of the five XML entities, in both directions.
    int convert_string_to_xml(const std::string& in, std::string& out);
    int convert_xml_to_string(const std::string& in, std::string& out);

    // Enum member name to value and back through the registered enum enum_id.
    int convert_enum_element(unsigned int enum_id, const std::string& text, int& value);
    int convert_enum_element(unsigned int enum_id, const int& value, std::string& text);

protected:
    // Hooks for the derived class, called in this order by every cycle.
    // request_register_xml_spec and request_store_xaddr must be supplied (the
    // base returns 1); the others return 0 doing nothing.
    virtual int request_register_xml_spec(std::string& version, std::string& encoding);
    virtual int request_register_namespace();
    virtual int request_register_enum();
    virtual int request_register_enum_member(unsigned int enum_id);
    virtual int request_register_struct();
    virtual int request_register_struct_member(unsigned int struct_id);
    virtual int request_register_interface();
    virtual int request_register_xaddr();
    virtual int request_register_xaddr_action(unsigned int xaddr_id);
    virtual int request_register_rules();
    virtual int notify_xaddr_interrupt(unsigned int interrupt_id,
                                       std::map<std::string, std::string>& attributes,
                                       std::string& data);
    virtual int request_store_xaddr();

    // Registration, each valid only inside its hook.
    int register_namespace(unsigned int id, std::string prefix, std::string uri);
    int register_enum(unsigned int enum_id, unsigned int namespace_id);
    int register_enum_member(std::string name, int value);
    int register_struct(unsigned int struct_id, unsigned int namespace_id);
    int register_struct_member_string(std::string name, unsigned int namespace_id);
    int register_struct_member_value(std::string name, unsigned int namespace_id);
    int register_struct_member_enum(std::string name, unsigned int enum_id);
    int register_struct_member_struct(std::string name, unsigned int struct_id);
    int register_interface(std::string name, unsigned int struct_id);
    int register_xaddr(unsigned int xaddr_id, std::string xaddr);
    int register_xaddr_data_auto_setting(void* addr, unsigned int size,
                                         UTL_LIB_XADDR_VALUE_OPTION_TYPE option);
    int register_xaddr_data_auto_setting(std::string* target);
    int register_xaddr_data_auto_setting(std::vector<std::string>* target);
    int register_xaddr_data_auto_setting(int* flag);
    int register_xaddr_attr_auto_setting(std::string attr, char* buffer, unsigned int size);
    int register_xaddr_attr_auto_setting(std::string attr, std::string* target);
    int register_xaddr_interrupt(UTL_LIB_XML_INTERRUPT_TYPE type, unsigned int interrupt_id);
    int register_rules(std::bitset<UTL_LIB_XML_RULE_MAX>& rules);

    // Stores, valid only inside request_store_xaddr().
    int store_xaddr_namespace_open(unsigned int xaddr_id, unsigned int namespace_id);
    int store_xaddr_namespace_close(unsigned int xaddr_id);
    int store_xaddr_element_struct_open(unsigned int xaddr_id);
    int store_xaddr_element_struct_open(unsigned int xaddr_id,
                                        std::map<std::string, std::string>& attributes);
    int store_xaddr_element_struct_open(unsigned int xaddr_id, std::string name,
                                        std::string value);
    int store_xaddr_element_struct_close(unsigned int xaddr_id);
    int store_xaddr_element(unsigned int xaddr_id, int value);
    int store_xaddr_element(unsigned int xaddr_id, int value,
                            std::map<std::string, std::string>& attributes);
    int store_xaddr_element(unsigned int xaddr_id, int value, std::string name,
                            std::string attr_value);
    int store_xaddr_element(unsigned int xaddr_id, unsigned int value);
    int store_xaddr_element(unsigned int xaddr_id, unsigned int value,
                            std::map<std::string, std::string>& attributes);
    int store_xaddr_element(unsigned int xaddr_id, unsigned int value, std::string name,
                            std::string attr_value);
    int store_xaddr_element(unsigned int xaddr_id, long value);
    int store_xaddr_element(unsigned int xaddr_id, unsigned long value);
    int store_xaddr_element(unsigned int xaddr_id, std::string value);
    int store_xaddr_element(unsigned int xaddr_id, std::string value,
                            std::map<std::string, std::string>& attributes);
    int store_xaddr_element(unsigned int xaddr_id, std::string value, std::string name,
                            std::string attr_value);
    int store_xaddr_fix(unsigned int xaddr_id);

    // The schema layer's name for convert_enum_element (text to value).
    int convert_enum_element_(unsigned int enum_id, const std::string& text, int& value);

    // Stores text into one automatic target; enum_id non-zero converts the
    // text through that enum first. Reachable so that derived classes can
    // reuse the conversions.
    int proc_xaddr_auto_setting_(UTL_LIB_XADDR_DATA_TYPE type, void* addr, int size,
                                 const std::string& text, unsigned int enum_id);

private:
    typedef std::map<std::string, std::string> attribute_map_;

    // cycles and schema building
    void initialize_();
    int construct_xml_spec_();
    int register_enum_members_();
    int register_struct_members_();
    int register_xaddr_actions_();
    bool open_cycle_(MY_STATE kind, MY_STATE source);
    int build_schema_and_accessor_();
    int create_accessor_();
    int finish_cycle_(int result);
    bool check_state_(MY_STATE bit);
    void log_out_of_reception_();
    bool is_namespace_known_(unsigned int namespace_id) const;
    bool check_namespace_(unsigned int namespace_id) const;
    utl_lib_xml_struct* find_filling_struct_();
    int make_element_(const std::string& name, unsigned int namespace_id,
                      UTL_LIB_XML_ELEMENT_TYPE type, unsigned int id,
                      utl_lib_xml_element_info& element);
    int register_element_list_(std::vector<utl_lib_xml_element_info>& element_list,
                               unsigned int struct_id);
    int register_xaddr_(unsigned int xaddr_id, const std::string& xaddr);
    static std::vector<std::string> split_xaddr_(const std::string& xaddr);
    static utl_lib_xml_element_info* find_xaddr_element_(
        const std::string& component, std::vector<utl_lib_xml_element_info>& list);
    utl_lib_xml_element_info* find_action_element_();
    static UTL_LIB_XADDR_DATA_TYPE number_type_(unsigned int size,
                                                UTL_LIB_XADDR_VALUE_OPTION_TYPE option);
    int register_string_target_(UTL_LIB_XADDR_DATA_TYPE type, void* target, int size);
    int register_xaddr_auto_setting_(UTL_LIB_XADDR_DATA_TYPE type, void* addr, int size);
    int register_xaddr_attr_auto_setting_(const std::string& attr, UTL_LIB_XADDR_DATA_TYPE type,
                                          void* addr, int size);
    static std::string get_namespace_prefix_(const std::string& name);
    static std::string get_local_name_(const std::string& name);

    // parsing
    utl_lib_xml_element_info* find_open_element_(const std::string& name);
    void store_attributes_(unsigned int xaddr_id, const attribute_map_& attributes);
    void notify_start_interrupts_(unsigned int xaddr_id, const attribute_map_& attributes);
    void store_data_(unsigned int xaddr_id, const utl_lib_xml_element_info& element,
                     std::string& data);
    int close_element_targets_(unsigned int xaddr_id);
    static void store_char_buffer_(void* addr, int size, const std::string& text);
    int store_number_text_(UTL_LIB_XADDR_DATA_TYPE type, void* addr, const std::string& text,
                           unsigned int enum_id);
    static void store_number_(UTL_LIB_XADDR_DATA_TYPE type, void* addr, long value);
    int get_enum_convert_value_(unsigned int enum_id, const std::string& text, int& value);

    // writing
    int run_stores_();
    std::string create_xml_header_();
    const utl_lib_xml_element_info* begin_store_(unsigned int xaddr_id);
    const utl_lib_xml_element_info* search_element_by_xaddr_(unsigned int xaddr_id) const;
    void append_(const std::string& text);
    static std::string make_start_tag_(const std::string& q_name, const attribute_map_& attributes);
    int store_number_element_(unsigned int xaddr_id, const std::string& number, int value,
                              bool is_unsigned, const attribute_map_& attributes);
    void append_element_(const utl_lib_xml_element_info& element, const std::string& content,
                         const attribute_map_& attributes);

    std::bitset<MY_STATE_MAX> my_state_;
    unsigned int register_namespace_id_;
    unsigned int register_enum_id_;
    unsigned int register_struct_id_;
    unsigned int register_xaddr_id_;
    utl_lib_xml_accessor* xml_accesser_;
    std::string processing_version_;
    std::string processing_encode_;
    std::string* output_buffer_;
    std::vector<utl_lib_xml_element_info*> processing_xaddr_;
    std::map<unsigned int, utl_lib_xml_namespace_info> namespace_list_;
    std::map<unsigned int, utl_lib_xml_enum> enum_list_;
    std::map<unsigned int, utl_lib_xml_struct> struct_list_;
    std::vector<utl_lib_xml_element_info> interface_list_;
    std::map<unsigned int, utl_lib_xml_element_info*> xaddr_list_;
    std::multimap<unsigned int, utl_lib_xaddr_data_auto_setting_info> xaddr_data_auto_setting_list_;
    std::multimap<unsigned int, utl_lib_xaddr_attr_auto_setting_info> xaddr_attr_auto_setting_list_;
    std::multimap<unsigned int, utl_lib_xaddr_interrupt_info> xaddr_intrrupt_list_;
    std::bitset<UTL_LIB_XML_RULE_MAX> rules_;
};

}  // namespace norvane

#endif
