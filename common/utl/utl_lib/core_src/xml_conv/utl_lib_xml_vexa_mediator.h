// The schema mediator of the vexa message family.
//
// It answers the engine's registration hooks from the schema tables, giving
// every element position an xaddr (3000001 onwards, depth first) and up to
// four interrupts (4000002 onwards). While the engine parses, the interrupts
// write each element's value straight into the caller's record at the
// offset that its row names: scratch records for open structs, list nodes
// for repeated elements, presence flags for omissible ones. For writing it
// walks the same rows over a record and emits the XML text itself.
//
// List nodes and row copies belong to the mediator and live until
// free_allocated_memory, which the destructor calls; the lists inside a
// parsed record stay valid until then.
#ifndef NORVANE_UTL_LIB_XML_VEXA_MEDIATOR_H
#define NORVANE_UTL_LIB_XML_VEXA_MEDIATOR_H

#include <map>
#include <string>
#include <vector>

#include "utl_lib_xml_mediator.h"
#include "utl_lib_xml_vexa_def.h"
#include "utl_lib_xml_vexa_schema.h"

namespace norvane {

class utl_lib_xml_vexa_mediator : public utl_lib_xml_mediator {
public:
    utl_lib_xml_vexa_mediator();
    ~utl_lib_xml_vexa_mediator() override;
    utl_lib_xml_vexa_mediator(const utl_lib_xml_vexa_mediator&) = delete;
    utl_lib_xml_vexa_mediator& operator=(const utl_lib_xml_vexa_mediator&) = delete;

    // Fills dest, which the caller has zeroed, from xml. The root element
    // chooses the interface; type is only logged. A parser failure, or a
    // scratch record or list node that could not be allocated, sets result
    // to UTL_LIB_XML_VEXA_RESULT_PARSER_ERR and returns non-zero; otherwise
    // result is left as the caller set it.
    int parse(UTL_LIB_XML_VEXA_MESSAGE_TYPE_ type, const std::string& xml, void* dest,
              UTL_LIB_XML_VEXA_RESULT& result);
    // Appends the XML of src, the record of message type type, to out; with
    // header 1 the XML declaration comes first. result is not changed.
    int create(UTL_LIB_XML_VEXA_MESSAGE_TYPE_ type, int header, const void* src, std::string& out,
               UTL_LIB_XML_VEXA_RESULT& result);
    // Frees every list node and row copy of the parses so far. Returns 0.
    int free_allocated_memory();

protected:
    typedef UTL_LIB_XML_VEXA_XML_SCHEMA ROW;
    typedef std::vector<ROW> ROWS;

    // Engine hooks.
    int request_register_xml_spec(std::string& version, std::string& encoding) override;
    int request_register_namespace() override;
    int request_register_enum() override;
    int request_register_enum_member(unsigned int enum_id) override;
    int request_register_struct() override;
    int request_register_struct_member(unsigned int struct_id) override;
    int request_register_interface() override;
    int request_register_xaddr() override;
    int request_register_xaddr_action(unsigned int xaddr_id) override;
    int request_register_rules() override;
    int notify_xaddr_interrupt(unsigned int interrupt_id,
                               std::map<std::string, std::string>& attributes,
                               std::string& data) override;

    // Per-message set-up: forget the schema state, then rebuild the tables.
    // constract_xml_spec is virtual so that a derived schema can bring
    // tables of its own.
    int clear_private_member();
    virtual int constract_xml_spec();
    int regist_xaddr(ROWS& rows, const std::string& parent_path, unsigned int& counter,
                     unsigned int parent_id);

    // Parsing: what the interrupts of one element position do.
    int process_element_start(ROW* row);
    int process_element_data(ROW* row, const std::string& text);
    int process_element_attr(ROW* row, std::map<std::string, std::string>& attributes);
    int process_element_end(ROW* row);

    // Writing.
    int store_start(unsigned int struct_id, std::string& out, const void* src, int header);
    int store_xml_header(std::string& out);
    int store_xml_tag_start(const ROW& row, std::string& out, const void* record);
    int store_xml_tag(const ROW& row, const std::string& text, std::string& out,
                      const void* record);
    int store_xml_tag_end(const ROW& row, std::string& out);
    int store_element_member(const ROWS& rows, std::string& out, const void* record);
    int store_element_value(const ROW& row, std::string& out, const void* record);
    int store_element_string(const ROW& row, std::string& out, const void* record);
    int store_element_enum(const ROW& row, std::string& out, const void* record);
    int store_element_struct(const ROW& row, std::string& out, const void* record);
    int store_element_attribute(const ROW& row, std::string& out, const void* record);

    int output_debug_log_parse(const std::string& xml);

    void* parse_dest_;   // record that the current parse fills (not owned)
    void* store_from_;   // reserved for the record that the current create reads
    std::vector<UTL_LIB_XML_VEXA_XML_SCHEMA> interface_vec_;
    std::map<UTL_LIB_XML_VEXA_STRUCT_ID, std::vector<UTL_LIB_XML_VEXA_XML_SCHEMA>>
        xml_schema_map_;
    std::map<UTL_LIB_XML_VEXA_ENUM_ID, std::vector<UTL_LIB_XML_VEXA_XML_ENUMERATION>>
        xml_enum_map_;
    UTL_LIB_XML_VEXA_INTERRUPT_ID interrupt_id_;  // last interrupt id handed out
    std::map<unsigned int, UTL_LIB_XML_VEXA_XML_SCHEMA*> xaddr_map_;
    std::map<unsigned int, UTL_LIB_XML_VEXA_XML_SCHEMA*> interrupt_map_;
    std::vector<void*> alloc_mem_vec_;  // blocks allocated and not yet freed
    bool allocation_failed_;            // this parse lost an element to a failed allocation

private:
    int regist_interrupt_(ROW* row, UTL_LIB_XML_VEXA_XML_INTERRUPT_TYPE slot,
                          UTL_LIB_XML_INTERRUPT_TYPE engine_type);
    char* parent_record_(const ROW* row);
    void release_open_scratch_records_();
    void* allocate_zeroed_(const ROW* row, UINT size);
    int check_allocations_();
    int collect_elements_(const ROW& row, const void* record, std::vector<const char*>& items);
    const char* enum_name_(unsigned int enum_id, int value);
    std::string attribute_text_(const ROW& row, const char* base);
};

}  // namespace norvane

#endif
