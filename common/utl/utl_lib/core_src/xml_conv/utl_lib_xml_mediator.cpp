// utl_lib_xml_mediator: construction, the hooks' defaults, the registration
// phase, the element tree and the xaddrs. Parsing and writing live in
// utl_lib_xml_mediator_parse.cpp and utl_lib_xml_mediator_write.cpp.
#include "utl_lib_xml_mediator.h"

#include <cstdint>

#include "utl_lib_xml_local.h"

namespace norvane {

namespace {

// Pointers are traced through "%08x": the device prints them whole, the host
// its low 32 bits.
unsigned int trace_address(const void* address)
{
    return static_cast<unsigned int>(reinterpret_cast<uintptr_t>(address));
}

bool is_in_range(unsigned int id, unsigned int top, unsigned int term)
{
    return id >= top && id <= term;
}

}  // namespace

utl_lib_xml_mediator::utl_lib_xml_mediator()
    : my_state_(),
      register_namespace_id_(UTL_LIB_XML_INVALID_ID),
      register_enum_id_(UTL_LIB_XML_INVALID_ID),
      register_struct_id_(UTL_LIB_XML_INVALID_ID),
      register_xaddr_id_(UTL_LIB_XML_INVALID_ID),
      xml_accesser_(nullptr),
      output_buffer_(nullptr),
      rules_()
{
}

utl_lib_xml_mediator::~utl_lib_xml_mediator()
{
    delete xml_accesser_;
}

// ---- hooks: the derived class overrides what its schema needs ----

int utl_lib_xml_mediator::request_register_xml_spec(std::string& /*version*/,
                                                    std::string& /*encoding*/)
{
    return UTL_LIB_XML_RET_ERR;
}

int utl_lib_xml_mediator::request_register_namespace()
{
    return UTL_LIB_XML_RET_OK;
}

int utl_lib_xml_mediator::request_register_enum()
{
    return UTL_LIB_XML_RET_OK;
}

int utl_lib_xml_mediator::request_register_enum_member(unsigned int /*enum_id*/)
{
    return UTL_LIB_XML_RET_OK;
}

int utl_lib_xml_mediator::request_register_struct()
{
    return UTL_LIB_XML_RET_OK;
}

int utl_lib_xml_mediator::request_register_struct_member(unsigned int /*struct_id*/)
{
    return UTL_LIB_XML_RET_OK;
}

int utl_lib_xml_mediator::request_register_interface()
{
    return UTL_LIB_XML_RET_OK;
}

int utl_lib_xml_mediator::request_register_xaddr()
{
    return UTL_LIB_XML_RET_OK;
}

int utl_lib_xml_mediator::request_register_xaddr_action(unsigned int /*xaddr_id*/)
{
    return UTL_LIB_XML_RET_OK;
}

int utl_lib_xml_mediator::request_register_rules()
{
    return UTL_LIB_XML_RET_OK;
}

int utl_lib_xml_mediator::notify_xaddr_interrupt(unsigned int /*interrupt_id*/,
                                                 std::map<std::string, std::string>& /*attributes*/,
                                                 std::string& /*data*/)
{
    return UTL_LIB_XML_RET_OK;
}

int utl_lib_xml_mediator::request_store_xaddr()
{
    return UTL_LIB_XML_RET_ERR;
}

// ---- cycle set-up ----

void utl_lib_xml_mediator::initialize_()
{
    register_namespace_id_ = UTL_LIB_XML_INVALID_ID;
    register_enum_id_ = UTL_LIB_XML_INVALID_ID;
    register_struct_id_ = UTL_LIB_XML_INVALID_ID;
    register_xaddr_id_ = UTL_LIB_XML_INVALID_ID;
    // No cycle runs here, so no parse can still be using an accessor.
    delete xml_accesser_;
    xml_accesser_ = nullptr;
    processing_version_.clear();
    processing_encode_.clear();
    processing_xaddr_.clear();
    namespace_list_.clear();
    enum_list_.clear();
    struct_list_.clear();
    interface_list_.clear();
    xaddr_list_.clear();
    xaddr_data_auto_setting_list_.clear();
    xaddr_attr_auto_setting_list_.clear();
    xaddr_intrrupt_list_.clear();
    rules_.reset();
}

// Starts a parse or write cycle from a clean slate; refused (false) while
// another cycle runs, so cycles neither nest nor overlap.
bool utl_lib_xml_mediator::open_cycle_(MY_STATE kind, MY_STATE source)
{
    if (my_state_.any()) {
        log_out_of_reception_();
        return false;
    }
    initialize_();
    my_state_.set(kind);
    my_state_.set(source);
    return true;
}

// The schema of this cycle and the accessor that runs it.
int utl_lib_xml_mediator::build_schema_and_accessor_()
{
    int result = construct_xml_spec_();
    if (result == UTL_LIB_XML_RET_OK) {
        result = create_accessor_();
    }
    return result;
}

int utl_lib_xml_mediator::create_accessor_()
{
    if (xml_accesser_ == nullptr) {
        xml_accesser_ = utl_lib_xml_accessor_factory::create_accessor(this);
    }
    if (xml_accesser_ == nullptr) {
        utl_lib_xml_trace("[XML][ERROR! ]failed create utl_lib_xml_accessor. 0x%08x",
                          trace_address(xml_accesser_));
        return UTL_LIB_XML_RET_ERR;
    }
    return UTL_LIB_XML_RET_OK;
}

// Ends any cycle: the accessor goes, every state bit is cleared.
int utl_lib_xml_mediator::finish_cycle_(int result)
{
    delete xml_accesser_;
    xml_accesser_ = nullptr;
    output_buffer_ = nullptr;
    my_state_.reset();
    return result;
}

// Asks the derived class for its schema, one step after the other, each step
// with its own state bit so that only that step's registrations are taken.
int utl_lib_xml_mediator::construct_xml_spec_()
{
    if (request_register_xml_spec(processing_version_, processing_encode_) != UTL_LIB_XML_RET_OK) {
        return UTL_LIB_XML_RET_ERR;
    }
    const std::pair<MY_STATE, int (utl_lib_xml_mediator::*)()> steps[] = {
        {MY_STATE_REGISTER_NAMESPACE, &utl_lib_xml_mediator::request_register_namespace},
        {MY_STATE_REGISTER_ENUM, &utl_lib_xml_mediator::request_register_enum},
        {MY_STATE_REGISTER_ENUM_MEMBER, &utl_lib_xml_mediator::register_enum_members_},
        {MY_STATE_REGISTER_STRUCT, &utl_lib_xml_mediator::request_register_struct},
        {MY_STATE_REGISTER_STRUCT_MEMBER, &utl_lib_xml_mediator::register_struct_members_},
        {MY_STATE_REGISTER_INTERFACE, &utl_lib_xml_mediator::request_register_interface},
        {MY_STATE_REGISTER_XADDR, &utl_lib_xml_mediator::request_register_xaddr},
        {MY_STATE_REGISTER_XADDR_ACTION, &utl_lib_xml_mediator::register_xaddr_actions_},
        {MY_STATE_REGISTER_RULE, &utl_lib_xml_mediator::request_register_rules},
    };
    for (const auto& step : steps) {
        my_state_.set(step.first);
        int result = (this->*step.second)();
        my_state_.reset(step.first);
        if (result != UTL_LIB_XML_RET_OK) {
            return UTL_LIB_XML_RET_ERR;
        }
    }
    return UTL_LIB_XML_RET_OK;
}

int utl_lib_xml_mediator::register_enum_members_()
{
    std::vector<unsigned int> ids;
    for (const auto& entry : enum_list_) {
        ids.push_back(entry.first);
    }
    int result = UTL_LIB_XML_RET_OK;
    for (unsigned int id : ids) {
        register_enum_id_ = id;
        result |= request_register_enum_member(id);
    }
    register_enum_id_ = UTL_LIB_XML_INVALID_ID;
    return result;
}

int utl_lib_xml_mediator::register_struct_members_()
{
    std::vector<unsigned int> ids;
    for (const auto& entry : struct_list_) {
        ids.push_back(entry.first);
    }
    int result = UTL_LIB_XML_RET_OK;
    for (unsigned int id : ids) {
        register_struct_id_ = id;
        result |= request_register_struct_member(id);
    }
    register_struct_id_ = UTL_LIB_XML_INVALID_ID;
    return result;
}

int utl_lib_xml_mediator::register_xaddr_actions_()
{
    std::vector<unsigned int> ids;
    for (const auto& entry : xaddr_list_) {
        ids.push_back(entry.first);
    }
    int result = UTL_LIB_XML_RET_OK;
    for (unsigned int id : ids) {
        register_xaddr_id_ = id;
        result |= request_register_xaddr_action(id);
    }
    register_xaddr_id_ = UTL_LIB_XML_INVALID_ID;
    return result;
}

bool utl_lib_xml_mediator::check_state_(MY_STATE bit)
{
    if (my_state_.test(bit)) {
        return true;
    }
    log_out_of_reception_();
    return false;
}

void utl_lib_xml_mediator::log_out_of_reception_()
{
    utl_lib_xml_trace("[XML][ERROR! ]Out of reception time. state=0x%08x",
                      static_cast<unsigned int>(my_state_.to_ulong()));
}

bool utl_lib_xml_mediator::is_namespace_known_(unsigned int namespace_id) const
{
    return namespace_id == UTL_LIB_XML_INVALID_ID ||
           namespace_list_.find(namespace_id) != namespace_list_.end();
}

bool utl_lib_xml_mediator::check_namespace_(unsigned int namespace_id) const
{
    if (is_namespace_known_(namespace_id)) {
        return true;
    }
    utl_lib_xml_trace("[XML][ERROR! ]namespace ID not found. ID=%d", namespace_id);
    return false;
}

// ---- namespaces, enums and structs ----

int utl_lib_xml_mediator::register_namespace(unsigned int id, std::string prefix, std::string uri)
{
    if (!check_state_(MY_STATE_REGISTER_NAMESPACE)) {
        return UTL_LIB_XML_RET_ERR;
    }
    if (!is_in_range(id, UTL_LIB_XML_NAMESPACE_ID_TOP, UTL_LIB_XML_NAMESPACE_ID_TERM)) {
        utl_lib_xml_trace("[XML][ERROR! ]namespace ID out of range. ID=%d", id);
        return UTL_LIB_XML_RET_ERR;
    }
    if (namespace_list_.find(id) != namespace_list_.end()) {
        utl_lib_xml_trace("[XML][ERROR! ] Duplicate registration. ID=%d name=%s", id,
                          prefix.c_str());
        return UTL_LIB_XML_RET_ERR;
    }
    namespace_list_[id] = utl_lib_xml_namespace_info{prefix, uri};
    return UTL_LIB_XML_RET_OK;
}

int utl_lib_xml_mediator::register_enum(unsigned int enum_id, unsigned int namespace_id)
{
    if (!check_state_(MY_STATE_REGISTER_ENUM)) {
        return UTL_LIB_XML_RET_ERR;
    }
    if (!is_in_range(enum_id, UTL_LIB_XML_ENUM_ID_TOP, UTL_LIB_XML_ENUM_ID_TERM)) {
        utl_lib_xml_trace("[XML][ERROR! ]enum ID out of range. ID=%d", enum_id);
        return UTL_LIB_XML_RET_ERR;
    }
    if (!check_namespace_(namespace_id)) {
        return UTL_LIB_XML_RET_ERR;
    }
    if (enum_list_.find(enum_id) != enum_list_.end()) {
        utl_lib_xml_trace("[XML][ERROR! ] Duplicate registration. ID=%d", enum_id);
        return UTL_LIB_XML_RET_ERR;
    }
    enum_list_.emplace(enum_id, utl_lib_xml_enum(namespace_id));
    return UTL_LIB_XML_RET_OK;
}

int utl_lib_xml_mediator::register_enum_member(std::string name, int value)
{
    if (!check_state_(MY_STATE_REGISTER_ENUM_MEMBER)) {
        return UTL_LIB_XML_RET_ERR;
    }
    auto found = enum_list_.find(register_enum_id_);
    if (found == enum_list_.end()) {
        utl_lib_xml_trace("[XML][ERROR! ]enum ID not found. ID=%d", register_enum_id_);
        return UTL_LIB_XML_RET_ERR;
    }
    return found->second.register_member(name, value);
}

int utl_lib_xml_mediator::register_struct(unsigned int struct_id, unsigned int namespace_id)
{
    if (!check_state_(MY_STATE_REGISTER_STRUCT)) {
        return UTL_LIB_XML_RET_ERR;
    }
    if (!is_in_range(struct_id, UTL_LIB_XML_STRUCT_ID_TOP, UTL_LIB_XML_STRUCT_ID_TERM)) {
        utl_lib_xml_trace("[XML][ERROR! ]struct ID out of range. ID=%d", struct_id);
        return UTL_LIB_XML_RET_ERR;
    }
    if (!check_namespace_(namespace_id)) {
        return UTL_LIB_XML_RET_ERR;
    }
    if (struct_list_.find(struct_id) != struct_list_.end()) {
        utl_lib_xml_trace("[XML][ERROR! ]Duplicate registration. ID=%d", struct_id);
        return UTL_LIB_XML_RET_ERR;
    }
    struct_list_.emplace(struct_id, utl_lib_xml_struct(namespace_id));
    return UTL_LIB_XML_RET_OK;
}

// The struct being filled by request_register_struct_member, or null.
utl_lib_xml_struct* utl_lib_xml_mediator::find_filling_struct_()
{
    auto found = struct_list_.find(register_struct_id_);
    if (found == struct_list_.end()) {
        utl_lib_xml_trace("[XML][ERROR! ]struct ID not found. ID=%d", register_struct_id_);
        return nullptr;
    }
    return &found->second;
}

int utl_lib_xml_mediator::register_struct_member_string(std::string name, unsigned int namespace_id)
{
    if (!check_state_(MY_STATE_REGISTER_STRUCT_MEMBER)) {
        return UTL_LIB_XML_RET_ERR;
    }
    utl_lib_xml_struct* filling = find_filling_struct_();
    if (filling == nullptr || !check_namespace_(namespace_id)) {
        return UTL_LIB_XML_RET_ERR;
    }
    return filling->register_string_member(name, namespace_id);
}

int utl_lib_xml_mediator::register_struct_member_value(std::string name, unsigned int namespace_id)
{
    if (!check_state_(MY_STATE_REGISTER_STRUCT_MEMBER)) {
        return UTL_LIB_XML_RET_ERR;
    }
    utl_lib_xml_struct* filling = find_filling_struct_();
    if (filling == nullptr || !check_namespace_(namespace_id)) {
        return UTL_LIB_XML_RET_ERR;
    }
    return filling->register_value_member(name, namespace_id);
}

int utl_lib_xml_mediator::register_struct_member_enum(std::string name, unsigned int enum_id)
{
    if (!check_state_(MY_STATE_REGISTER_STRUCT_MEMBER)) {
        return UTL_LIB_XML_RET_ERR;
    }
    auto referenced = enum_list_.find(enum_id);
    if (referenced == enum_list_.end()) {
        utl_lib_xml_trace("[XML][ERROR! ]enum ID not found. ID=%d", enum_id);
        return UTL_LIB_XML_RET_ERR;
    }
    utl_lib_xml_struct* filling = find_filling_struct_();
    if (filling == nullptr) {
        return UTL_LIB_XML_RET_ERR;
    }
    return filling->register_enum_member(name, referenced->second.get_namespace_id(), enum_id);
}

int utl_lib_xml_mediator::register_struct_member_struct(std::string name, unsigned int struct_id)
{
    if (!check_state_(MY_STATE_REGISTER_STRUCT_MEMBER)) {
        return UTL_LIB_XML_RET_ERR;
    }
    auto referenced = struct_list_.find(struct_id);
    if (referenced == struct_list_.end()) {
        // The enum wording for a missing struct is the established message.
        utl_lib_xml_trace("[XML][ERROR! ]enum ID not found. ID=%d", struct_id);
        return UTL_LIB_XML_RET_ERR;
    }
    utl_lib_xml_struct* filling = find_filling_struct_();
    if (filling == nullptr) {
        return UTL_LIB_XML_RET_ERR;
    }
    return filling->register_struct_member(name, referenced->second.get_namespace_id(), struct_id);
}

// ---- interfaces and the element tree ----

int utl_lib_xml_mediator::register_interface(std::string name, unsigned int struct_id)
{
    if (!check_state_(MY_STATE_REGISTER_INTERFACE)) {
        return UTL_LIB_XML_RET_ERR;
    }
    auto found = struct_list_.find(struct_id);
    if (found == struct_list_.end()) {
        utl_lib_xml_trace("[XML][ERROR! ]struct ID not found. ID=%d", struct_id);
        return UTL_LIB_XML_RET_ERR;
    }
    unsigned int namespace_id = found->second.get_namespace_id();
    if (!check_namespace_(namespace_id)) {
        return UTL_LIB_XML_RET_ERR;
    }
    for (const auto& interface : interface_list_) {
        if (interface.local_name == name && interface.namespace_id == namespace_id) {
            utl_lib_xml_trace("[XML][ERROR! ]Duplicate registration. name=%s namespace_id=%d",
                              name.c_str(), namespace_id);
            return UTL_LIB_XML_RET_ERR;
        }
    }
    // Built aside and appended only when complete, so a failure leaves the
    // interface list as it was.
    utl_lib_xml_element_info root;
    int result = make_element_(name, namespace_id, UTL_LIB_XML_ELEMENT_TYPE_STRUCT, struct_id, root);
    if (result == UTL_LIB_XML_RET_OK) {
        result = register_element_list_(root.element_list, struct_id);
    }
    if (result != UTL_LIB_XML_RET_OK) {
        return UTL_LIB_XML_RET_ERR;
    }
    interface_list_.push_back(std::move(root));
    return UTL_LIB_XML_RET_OK;
}

// One element record; its q_name carries the namespace's prefix.
int utl_lib_xml_mediator::make_element_(const std::string& name, unsigned int namespace_id,
                                        UTL_LIB_XML_ELEMENT_TYPE type, unsigned int id,
                                        utl_lib_xml_element_info& element)
{
    if (!check_namespace_(namespace_id)) {
        return UTL_LIB_XML_RET_ERR;
    }
    element.q_name = name;
    if (namespace_id != UTL_LIB_XML_INVALID_ID) {
        element.q_name = namespace_list_[namespace_id].prefix + ":" + name;
    }
    element.local_name = name;
    element.namespace_id = namespace_id;
    element.type = type;
    element.id = id;
    return UTL_LIB_XML_RET_OK;
}

// Fills element_list with the members of struct_id in registration order,
// descending into struct members.
int utl_lib_xml_mediator::register_element_list_(std::vector<utl_lib_xml_element_info>& element_list,
                                                 unsigned int struct_id)
{
    auto found = struct_list_.find(struct_id);
    if (found == struct_list_.end()) {
        utl_lib_xml_trace("[XML][ERROR! ]struct ID not found. ID=%d", struct_id);
        return UTL_LIB_XML_RET_ERR;
    }
    std::vector<utl_lib_xml_struct_member_info> members;
    found->second.get_member_list(members);
    for (const auto& member : members) {
        utl_lib_xml_element_info child;
        if (make_element_(member.name, member.namespace_id, member.type, member.id, child) !=
            UTL_LIB_XML_RET_OK) {
            return UTL_LIB_XML_RET_ERR;
        }
        if (member.type == UTL_LIB_XML_ELEMENT_TYPE_STRUCT &&
            register_element_list_(child.element_list, member.id) != UTL_LIB_XML_RET_OK) {
            return UTL_LIB_XML_RET_ERR;
        }
        element_list.push_back(std::move(child));
    }
    return UTL_LIB_XML_RET_OK;
}

// ---- xaddrs ----

int utl_lib_xml_mediator::register_xaddr(unsigned int xaddr_id, std::string xaddr)
{
    if (!check_state_(MY_STATE_REGISTER_XADDR)) {
        return UTL_LIB_XML_RET_ERR;
    }
    if (!is_in_range(xaddr_id, UTL_LIB_XML_XADDR_ID_TOP, UTL_LIB_XML_XADDR_ID_TERM)) {
        utl_lib_xml_trace("[XML][ERROR! ]xaddr ID out of range. ID=%d", xaddr_id);
        return UTL_LIB_XML_RET_ERR;
    }
    if (xaddr_list_.find(xaddr_id) != xaddr_list_.end()) {
        utl_lib_xml_trace("[XML][ERROR! ]Duplicate registration. ID=%d xaddr=%s", xaddr_id,
                          xaddr.c_str());
        return UTL_LIB_XML_RET_ERR;
    }
    return register_xaddr_(xaddr_id, xaddr);
}

// Resolves a path such as /interface/child/grandchild to its element record.
int utl_lib_xml_mediator::register_xaddr_(unsigned int xaddr_id, const std::string& xaddr)
{
    std::vector<std::string> components = split_xaddr_(xaddr);
    if (components.empty()) {
        utl_lib_xml_trace("[XML][ERROR! ]XAddr is empty! xaddr=%s", xaddr.c_str());
        return UTL_LIB_XML_RET_ERR;
    }
    utl_lib_xml_element_info* element = find_xaddr_element_(components.front(), interface_list_);
    if (element == nullptr) {
        utl_lib_xml_trace("[XML][ERROR! ]interface not found. %s", xaddr.c_str());
        return UTL_LIB_XML_RET_ERR;
    }
    for (size_t index = 1; index < components.size(); ++index) {
        element = find_xaddr_element_(components[index], element->element_list);
        if (element == nullptr) {
            utl_lib_xml_trace("[XML][ERROR! ]element not found. %s", xaddr.c_str());
            return UTL_LIB_XML_RET_ERR;
        }
    }
    element->xaddr_id_list.insert(xaddr_id);
    xaddr_list_[xaddr_id] = element;
    return UTL_LIB_XML_RET_OK;
}

// The path's element names; empty names (a leading "/", doubled "/") are left out.
std::vector<std::string> utl_lib_xml_mediator::split_xaddr_(const std::string& xaddr)
{
    std::vector<std::string> components;
    size_t start = 0;
    while (start <= xaddr.size()) {
        size_t slash = xaddr.find('/', start);
        if (slash == std::string::npos) {
            slash = xaddr.size();
        }
        if (slash > start) {
            components.push_back(xaddr.substr(start, slash - start));
        }
        start = slash + 1;
    }
    return components;
}

// First record of list matching component: by q_name when the component has
// a prefix, by local name otherwise.
utl_lib_xml_mediator::utl_lib_xml_element_info* utl_lib_xml_mediator::find_xaddr_element_(
    const std::string& component, std::vector<utl_lib_xml_element_info>& list)
{
    bool has_prefix = component.find(':') != std::string::npos;
    for (auto& element : list) {
        const std::string& name = has_prefix ? element.q_name : element.local_name;
        if (name == component) {
            return &element;
        }
    }
    return nullptr;
}

// ---- automatic targets and interrupts of the xaddr register_xaddr_id_ ----

// The element that register_xaddr_id_ names, or null (logged).
utl_lib_xml_mediator::utl_lib_xml_element_info* utl_lib_xml_mediator::find_action_element_()
{
    auto found = xaddr_list_.find(register_xaddr_id_);
    if (found == xaddr_list_.end()) {
        utl_lib_xml_trace("[XML][ERROR! ]xaddr ID not found. ID=%d", register_xaddr_id_);
        return nullptr;
    }
    return found->second;
}

int utl_lib_xml_mediator::register_xaddr_data_auto_setting(void* addr, unsigned int size,
                                                           UTL_LIB_XADDR_VALUE_OPTION_TYPE option)
{
    if (!check_state_(MY_STATE_REGISTER_XADDR_ACTION)) {
        return UTL_LIB_XML_RET_ERR;
    }
    if (addr == nullptr || size == 0) {
        utl_lib_xml_trace("[XML][ERROR! ]Invalid parameter. addr=0x%08x size=%d",
                          trace_address(addr), size);
        return UTL_LIB_XML_RET_ERR;
    }
    utl_lib_xml_element_info* element = find_action_element_();
    if (element == nullptr) {
        return UTL_LIB_XML_RET_ERR;
    }
    if (element->type == UTL_LIB_XML_ELEMENT_TYPE_STRUCT) {
        utl_lib_xml_trace("[XML][ERROR! ]Invalid element tyep. ID=%d type=%d", register_xaddr_id_,
                          element->type);
        return UTL_LIB_XML_RET_ERR;
    }
    if (element->type == UTL_LIB_XML_ELEMENT_TYPE_STRING) {
        return register_xaddr_auto_setting_(XADDR_DATA_TYPE_CHAR_BUFF, addr, static_cast<int>(size));
    }
    UTL_LIB_XADDR_DATA_TYPE type = number_type_(size, option);
    if (type == XADDR_DATA_TYPE_UNKNOWN) {
        utl_lib_xml_trace("[XML][ERROR! ]Invalid data size. ID=%d size=%d", register_xaddr_id_, size);
        return UTL_LIB_XML_RET_ERR;
    }
    return register_xaddr_auto_setting_(type, addr, static_cast<int>(size));
}

// Target kind of an integer of size bytes, single or vector; UNKNOWN for a
// size other than 1, 2 or 4.
UTL_LIB_XADDR_DATA_TYPE utl_lib_xml_mediator::number_type_(unsigned int size,
                                                           UTL_LIB_XADDR_VALUE_OPTION_TYPE option)
{
    bool vector = option == UTL_LIB_XADDR_VALUE_OPTION_VECTOR;
    switch (size) {
    case 1:
        return vector ? XADDR_DATA_TYPE_VECTOR_1BYTE_VAL : XADDR_DATA_TYPE_1BYTE_VAL;
    case 2:
        return vector ? XADDR_DATA_TYPE_VECTOR_2BYTE_VAL : XADDR_DATA_TYPE_2BYTE_VAL;
    case 4:
        return vector ? XADDR_DATA_TYPE_VECTOR_4BYTE_VAL : XADDR_DATA_TYPE_4BYTE_VAL;
    default:
        return XADDR_DATA_TYPE_UNKNOWN;
    }
}

int utl_lib_xml_mediator::register_xaddr_data_auto_setting(std::string* target)
{
    return register_string_target_(XADDR_DATA_TYPE_STRING, target, sizeof(std::string));
}

int utl_lib_xml_mediator::register_xaddr_data_auto_setting(std::vector<std::string>* target)
{
    return register_string_target_(XADDR_DATA_TYPE_VECTOR_STRING, target,
                                   sizeof(std::vector<std::string>));
}

// A std::string or vector-of-strings target, which only a string element takes.
int utl_lib_xml_mediator::register_string_target_(UTL_LIB_XADDR_DATA_TYPE type, void* target,
                                                  int size)
{
    if (!check_state_(MY_STATE_REGISTER_XADDR_ACTION)) {
        return UTL_LIB_XML_RET_ERR;
    }
    if (target == nullptr) {
        utl_lib_xml_trace("[XML][ERROR! ]Invalid parameter. addr=0x%08x", trace_address(target));
        return UTL_LIB_XML_RET_ERR;
    }
    utl_lib_xml_element_info* element = find_action_element_();
    if (element == nullptr) {
        return UTL_LIB_XML_RET_ERR;
    }
    if (element->type != UTL_LIB_XML_ELEMENT_TYPE_STRING) {
        utl_lib_xml_trace("[XML][ERROR! ]Missmatch element type. ID=%d", register_xaddr_id_);
        return UTL_LIB_XML_RET_ERR;
    }
    return register_xaddr_auto_setting_(type, target, size);
}

int utl_lib_xml_mediator::register_xaddr_data_auto_setting(int* flag)
{
    if (!check_state_(MY_STATE_REGISTER_XADDR_ACTION)) {
        return UTL_LIB_XML_RET_ERR;
    }
    if (flag == nullptr) {
        utl_lib_xml_trace("[XML][ERROR! ]Invalid parameter. addr=0x%08x", trace_address(flag));
        return UTL_LIB_XML_RET_ERR;
    }
    if (find_action_element_() == nullptr) {
        return UTL_LIB_XML_RET_ERR;
    }
    return register_xaddr_auto_setting_(XADDR_DATA_TYPE_DATA_FOUND, flag, sizeof(int));
}

int utl_lib_xml_mediator::register_xaddr_auto_setting_(UTL_LIB_XADDR_DATA_TYPE type, void* addr,
                                                       int size)
{
    utl_lib_xaddr_data_auto_setting_info info;
    info.type = type;
    info.addr = addr;
    info.size = size;
    info.exist_data = FALSE;
    xaddr_data_auto_setting_list_.emplace(register_xaddr_id_, info);
    return UTL_LIB_XML_RET_OK;
}

int utl_lib_xml_mediator::register_xaddr_attr_auto_setting(std::string attr, char* buffer,
                                                           unsigned int size)
{
    if (!check_state_(MY_STATE_REGISTER_XADDR_ACTION)) {
        return UTL_LIB_XML_RET_ERR;
    }
    if (attr.empty() || buffer == nullptr || size == 0) {
        utl_lib_xml_trace("[XML][ERROR! ]Invalid parameter. attr=%s addr=0x%08x size=%d",
                          attr.c_str(), trace_address(buffer), size);
        return UTL_LIB_XML_RET_ERR;
    }
    if (find_action_element_() == nullptr) {
        return UTL_LIB_XML_RET_ERR;
    }
    return register_xaddr_attr_auto_setting_(attr, XADDR_DATA_TYPE_CHAR_BUFF, buffer,
                                             static_cast<int>(size));
}

int utl_lib_xml_mediator::register_xaddr_attr_auto_setting(std::string attr, std::string* target)
{
    if (!check_state_(MY_STATE_REGISTER_XADDR_ACTION)) {
        return UTL_LIB_XML_RET_ERR;
    }
    if (target == nullptr) {
        utl_lib_xml_trace("[XML][ERROR! ]Invalid parameter. attr=%s addr=0x%08x", attr.c_str(),
                          trace_address(target));
        return UTL_LIB_XML_RET_ERR;
    }
    if (find_action_element_() == nullptr) {
        return UTL_LIB_XML_RET_ERR;
    }
    return register_xaddr_attr_auto_setting_(attr, XADDR_DATA_TYPE_STRING, target,
                                             sizeof(std::string));
}

int utl_lib_xml_mediator::register_xaddr_attr_auto_setting_(const std::string& attr,
                                                            UTL_LIB_XADDR_DATA_TYPE type, void* addr,
                                                            int size)
{
    utl_lib_xaddr_attr_auto_setting_info info;
    info.attr_name = attr;
    info.type = type;
    info.addr = addr;
    info.size = size;
    xaddr_attr_auto_setting_list_.emplace(register_xaddr_id_, info);
    return UTL_LIB_XML_RET_OK;
}

int utl_lib_xml_mediator::register_xaddr_interrupt(UTL_LIB_XML_INTERRUPT_TYPE type,
                                                   unsigned int interrupt_id)
{
    if (!check_state_(MY_STATE_REGISTER_XADDR_ACTION)) {
        return UTL_LIB_XML_RET_ERR;
    }
    if (find_action_element_() == nullptr) {
        return UTL_LIB_XML_RET_ERR;
    }
    utl_lib_xaddr_interrupt_info info;
    info.type = type;
    info.interrupt_id = interrupt_id;
    xaddr_intrrupt_list_.emplace(register_xaddr_id_, info);
    return UTL_LIB_XML_RET_OK;
}

int utl_lib_xml_mediator::register_rules(std::bitset<UTL_LIB_XML_RULE_MAX>& rules)
{
    if (!check_state_(MY_STATE_REGISTER_RULE)) {
        return UTL_LIB_XML_RET_ERR;
    }
    rules_ = rules;
    return UTL_LIB_XML_RET_OK;
}

// ---- qualified names ----

std::string utl_lib_xml_mediator::get_namespace_prefix_(const std::string& name)
{
    size_t colon = name.find(':');
    return colon == std::string::npos ? std::string() : name.substr(0, colon);
}

std::string utl_lib_xml_mediator::get_local_name_(const std::string& name)
{
    size_t colon = name.find(':');
    return colon == std::string::npos ? name : name.substr(colon + 1);
}

}  // namespace norvane
