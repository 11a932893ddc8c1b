// Fixed-layout records of the vexa message family.
//
// The schema tables address every field by offset and width, so the order of
// the fields is part of the design (pinned by the checks at the end). Text
// values are char arrays whose capacity includes the terminating NUL; every
// optional value is followed by a 32-bit presence flag exist_<field> (1
// present), except in the request sections that lead with their flag.
// Repeated elements are held in a platform LIST whose elements are blocks of
// a NODE header followed by the element record.
#ifndef NORVANE_UTL_LIB_XML_VEXA_DATA_H
#define NORVANE_UTL_LIB_XML_VEXA_DATA_H

#include <cstddef>
#include <initializer_list>

#include "clb_list.h"
#include "utl_lib_xml_vexa_def.h"

namespace norvane {

// One file of a download group (element "data_information").
typedef struct UTL_LIB_XML_VEXA_FIRMWARE_DATA_INFORMATION_S {
    char name[65];
    BOOL exist_name;
    char filename[256];  // no presence flag
    char download_url[513];
    BOOL exist_download_url;
    char checksum[17];
    BOOL exist_checksum;
    INT size;
    BOOL exist_size;
    char version[33];
    BOOL exist_version;
} UTL_LIB_XML_VEXA_FIRMWARE_DATA_INFORMATION_S;

// One download group (element "download_information").
typedef struct UTL_LIB_XML_VEXA_FIRMWARE_DOWNLOAD_INFORMATION_S {
    UTL_LIB_XML_VEXA_VERSION_INFORMATION_TYPE type;
    char version[33];
    BOOL exist_version;
    LIST data_information;  // of UTL_LIB_XML_VEXA_FIRMWARE_DATA_INFORMATION_S
} UTL_LIB_XML_VEXA_FIRMWARE_DOWNLOAD_INFORMATION_S;

// The package description (element "firmware_package").
typedef struct UTL_LIB_XML_VEXA_FIRMWARE_PACKAGE_S {
    UTL_LIB_XML_VEXA_STATE_TYPE is_encrypted_url;
    char device_id[22];
    BOOL exist_device_id;
    char package_version[33];
    BOOL exist_package_version;
    INT total_size;
    BOOL exist_total_size;
    char description[129];
    BOOL exist_description;
    LIST download_information;  // of UTL_LIB_XML_VEXA_FIRMWARE_DOWNLOAD_INFORMATION_S
    UTL_LIB_XML_VEXA_PACKAGE_TYPE package_type;
} UTL_LIB_XML_VEXA_FIRMWARE_PACKAGE_S;

// One progress entry.
typedef struct UTL_LIB_XML_VEXA_PROGRESS_INFO_S {
    INT percentage_completed;
    BOOL exist_percentage_completed;
    INT estimated_time;
    BOOL exist_estimated_time;
    INT elapsed_time;
    BOOL exist_elapsed_time;
    INT units_total;
    BOOL exist_units_total;
    INT units_completed;
    BOOL exist_units_completed;
    char unit_name[129];
    BOOL exist_unit_name;
    char unit_label[129];
    BOOL exist_unit_label;
    char process_label[129];
    BOOL exist_process_label;
} UTL_LIB_XML_VEXA_PROGRESS_INFO_S;

// Progress of a running command.
typedef struct UTL_LIB_XML_VEXA_XMPP_PROGRESS_RESPONSE_S {
    char cmd_status[17];
    BOOL exist_cmd_status;
    char cmd_status_detail[129];
    BOOL exist_cmd_status_detail;
    INT percentage;
    BOOL exist_percentage;
    INT estimate;
    BOOL exist_estimate;
    UTL_LIB_XML_VEXA_PROGRESS_INFO_S main_progress_info;
    BOOL exist_main_progress_info;
    LIST process_info;  // of UTL_LIB_XML_VEXA_PROGRESS_INFO_S
} UTL_LIB_XML_VEXA_XMPP_PROGRESS_RESPONSE_S;

// Code part of a command result.
typedef struct UTL_LIB_XML_VEXA_XMPP_COMMAND_RESULT_CODE_S {
    UTL_LIB_XML_VEXA_XMPP_COMMAND_RESULT_CODE_TYPE code;
    UTL_LIB_XML_VEXA_XMPP_COMMAND_RESULT_SUBCODE_TYPE subcode;
    char message[257];
    BOOL exist_message;
} UTL_LIB_XML_VEXA_XMPP_COMMAND_RESULT_CODE_S;

// Result of a finished command.
typedef struct UTL_LIB_XML_VEXA_XMPP_COMMAND_RESULT_S {
    UTL_LIB_XML_VEXA_XMPP_COMMAND_RESULT_CODE_S result_code;
    BOOL exist_result_code;
    UTL_LIB_XML_VEXA_PROGRESS_INFO_S result_progress;
    BOOL exist_result_progress;
    LIST result_process;  // of UTL_LIB_XML_VEXA_PROGRESS_INFO_S
} UTL_LIB_XML_VEXA_XMPP_COMMAND_RESULT_S;

// A command error.
typedef struct UTL_LIB_XML_VEXA_XMPP_CMDERROR_S {
    UTL_LIB_XML_VEXA_XMPP_CMDERROR_CODE_TYPE code;
    UTL_LIB_XML_VEXA_XMPP_CMDERROR_SUBCODE_TYPE subcode;
    char message[257];
    BOOL exist_message;
    UTL_LIB_XML_VEXA_PROGRESS_INFO_S result_progress;
    BOOL exist_result_progress;
    LIST result_process;  // of UTL_LIB_XML_VEXA_PROGRESS_INFO_S
} UTL_LIB_XML_VEXA_XMPP_CMDERROR_S;

// Parameters of an XMPP request.
typedef struct UTL_LIB_XML_VEXA_XMPP_REQUEST_PARAM_S {
    INT ack_interval;
    BOOL exist_ack_interval;
} UTL_LIB_XML_VEXA_XMPP_REQUEST_PARAM_S;

// The note element of an error answer.
typedef struct UTL_LIB_XML_VEXA_XMPP_NOTE_S {
    BOOL exist_note;
    char note[17];
    UTL_LIB_XML_VEXA_XMPP_NOTE_TYPE type;
} UTL_LIB_XML_VEXA_XMPP_NOTE_S;

// The two status fields of a status answer.
typedef struct UTL_LIB_XML_VEXA_TASK_STATUS_INFO_ {
    UTL_LIB_XML_VEXA_TASK_STATUS_TYPE status;
    UTL_LIB_XML_VEXA_TASK_DETAIL_STATUS_TYPE detailed_status;
} UTL_LIB_XML_VEXA_TASK_STATUS_INFO;

// The error message.
typedef struct UTL_LIB_XML_VEXA_INTERFACE_ERROR_S {
    BOOL exist_rexid;
    char rexid[39];
    UTL_LIB_XML_VEXA_XMPP_CMDERROR_CODE_TYPE code;
    UTL_LIB_XML_VEXA_XMPP_CMDERROR_SUBCODE_TYPE subcode;
    char message[257];
    BOOL exist_message;
    UTL_LIB_XML_VEXA_PROGRESS_INFO_S result_progress;
    BOOL exist_result_progress;
    LIST result_process;  // of UTL_LIB_XML_VEXA_PROGRESS_INFO_S
} UTL_LIB_XML_VEXA_INTERFACE_ERROR_S;

// Sections of the family's other messages. This build's tables bind none of
// them, so their contents are not laid out here; each holds one reserved
// word so that the request and response records keep a section per message.
typedef struct UTL_LIB_XML_VEXA_AGENT_S {
    INT reserved;
} UTL_LIB_XML_VEXA_AGENT_S;
typedef struct UTL_LIB_XML_VEXA_AGENT_CONNECTIVITY_S {
    INT reserved;
} UTL_LIB_XML_VEXA_AGENT_CONNECTIVITY_S;
typedef struct UTL_LIB_XML_VEXA_ALL_CONSUMABLE_S {
    INT reserved;
} UTL_LIB_XML_VEXA_ALL_CONSUMABLE_S;
typedef struct UTL_LIB_XML_VEXA_ALL_COUNTER_S {
    INT reserved;
} UTL_LIB_XML_VEXA_ALL_COUNTER_S;
typedef struct UTL_LIB_XML_VEXA_DEVICE_S {
    INT reserved;
} UTL_LIB_XML_VEXA_DEVICE_S;
typedef struct UTL_LIB_XML_VEXA_DIGITAL_NOTE_S {
    INT reserved;
} UTL_LIB_XML_VEXA_DIGITAL_NOTE_S;
typedef struct UTL_LIB_XML_VEXA_NOTIFICATION_EVENT_S {
    INT reserved;
} UTL_LIB_XML_VEXA_NOTIFICATION_EVENT_S;
typedef struct UTL_LIB_XML_VEXA_PANEL_SCREEN_S {
    INT reserved;
} UTL_LIB_XML_VEXA_PANEL_SCREEN_S;
typedef struct UTL_LIB_XML_VEXA_RESTART_S {
    INT reserved;
} UTL_LIB_XML_VEXA_RESTART_S;
typedef struct UTL_LIB_XML_VEXA_ALL_ALERTS_S {
    INT reserved;
} UTL_LIB_XML_VEXA_ALL_ALERTS_S;
typedef struct UTL_LIB_XML_VEXA_SEND_FILE_REQUEST_S {
    INT reserved;
} UTL_LIB_XML_VEXA_SEND_FILE_REQUEST_S;
typedef struct UTL_LIB_XML_VEXA_DEVICE_SETTING_REQUEST_S {
    INT reserved;
} UTL_LIB_XML_VEXA_DEVICE_SETTING_REQUEST_S;
typedef struct UTL_LIB_XML_VEXA_PRINT_DATA_S {
    INT reserved;
} UTL_LIB_XML_VEXA_PRINT_DATA_S;
typedef struct UTL_LIB_XML_VEXA_MAINTENANCE_MODE_REQUEST_S {
    INT reserved;
} UTL_LIB_XML_VEXA_MAINTENANCE_MODE_REQUEST_S;
typedef struct UTL_LIB_XML_VEXA_MAINTENANCE_RESPONSE_S {
    INT reserved;
} UTL_LIB_XML_VEXA_MAINTENANCE_RESPONSE_S;
typedef struct UTL_LIB_XML_VEXA_MAINTENANCE_REQUEST_S {
    INT reserved;
} UTL_LIB_XML_VEXA_MAINTENANCE_REQUEST_S;

// The request message.
typedef struct UTL_LIB_XML_VEXA_INTERFACE_REQUEST_S {
    BOOL exist_device_id;
    char device_id[22];
    BOOL exist_agent_id;
    char agent_id[38];
    BOOL exist_url;
    char url[513];
    BOOL exist_rexid;
    char rexid[39];
    BOOL exist_agent;
    UTL_LIB_XML_VEXA_AGENT_S agent;
    BOOL exist_agent_connectivity;
    UTL_LIB_XML_VEXA_AGENT_CONNECTIVITY_S agent_connectivity;
    BOOL exist_all_consumable;
    UTL_LIB_XML_VEXA_ALL_CONSUMABLE_S all_consumable;
    BOOL exist_all_counter;
    UTL_LIB_XML_VEXA_ALL_COUNTER_S all_counter;
    BOOL exist_device;
    UTL_LIB_XML_VEXA_DEVICE_S device;
    BOOL exist_digital_note;
    UTL_LIB_XML_VEXA_DIGITAL_NOTE_S digital_note;
    BOOL exist_notification_event;
    UTL_LIB_XML_VEXA_NOTIFICATION_EVENT_S notification_event;
    BOOL exist_firmware_package;
    UTL_LIB_XML_VEXA_FIRMWARE_PACKAGE_S firmware_package;
    BOOL exist_panel_screen;
    UTL_LIB_XML_VEXA_PANEL_SCREEN_S panel_screen;
    LIST report;
    BOOL exist_restart;
    UTL_LIB_XML_VEXA_RESTART_S restart;
    BOOL exist_all_alerts;
    UTL_LIB_XML_VEXA_ALL_ALERTS_S all_alerts;
    BOOL exist_param;
    UTL_LIB_XML_VEXA_XMPP_REQUEST_PARAM_S param;
    BOOL exist_send_file_request;
    UTL_LIB_XML_VEXA_SEND_FILE_REQUEST_S send_file_request;
    BOOL exist_device_setting_request;
    UTL_LIB_XML_VEXA_DEVICE_SETTING_REQUEST_S device_setting_request;
    BOOL exist_print_data;
    UTL_LIB_XML_VEXA_PRINT_DATA_S print_data;
    BOOL exist_maintenance_mode_request;
    UTL_LIB_XML_VEXA_MAINTENANCE_MODE_REQUEST_S maintenance_mode_request;
    BOOL exist_maintenance_response;
    UTL_LIB_XML_VEXA_MAINTENANCE_RESPONSE_S maintenance_response;
} UTL_LIB_XML_VEXA_INTERFACE_REQUEST_S;

// The response message.
typedef struct UTL_LIB_XML_VEXA_INTERFACE_RESPONSE_S {
    BOOL exist_rexid;
    char rexid[39];
    BOOL exist_device;
    UTL_LIB_XML_VEXA_DEVICE_S device;
    BOOL exist_agent;
    UTL_LIB_XML_VEXA_AGENT_S agent;
    BOOL exist_digital_note;
    UTL_LIB_XML_VEXA_DIGITAL_NOTE_S digital_note;
    BOOL exist_progress;
    UTL_LIB_XML_VEXA_XMPP_PROGRESS_RESPONSE_S progress;
    UTL_LIB_XML_VEXA_MAINTENANCE_REQUEST_S maintenance_request;
    BOOL exist_maintenance_request;
    UTL_LIB_XML_VEXA_XMPP_COMMAND_RESULT_S command_result;
    BOOL exist_command_result;
    UTL_LIB_XML_VEXA_TASK_STATUS_TYPE status;
    UTL_LIB_XML_VEXA_TASK_DETAIL_STATUS_TYPE detailed_status;
} UTL_LIB_XML_VEXA_INTERFACE_RESPONSE_S;

// True when the offsets given are strictly increasing: the fields lie in
// the order in which they are listed.
constexpr bool utl_lib_xml_vexa_offsets_increasing(std::initializer_list<size_t> offsets)
{
    size_t previous = 0;
    bool first = true;
    for (size_t offset : offsets) {
        if (!first && offset <= previous) {
            return false;
        }
        previous = offset;
        first = false;
    }
    return true;
}


static_assert(utl_lib_xml_vexa_offsets_increasing({
                  offsetof(UTL_LIB_XML_VEXA_FIRMWARE_PACKAGE_S, is_encrypted_url),
                  offsetof(UTL_LIB_XML_VEXA_FIRMWARE_PACKAGE_S, device_id),
                  offsetof(UTL_LIB_XML_VEXA_FIRMWARE_PACKAGE_S, exist_device_id),
                  offsetof(UTL_LIB_XML_VEXA_FIRMWARE_PACKAGE_S, package_version),
                  offsetof(UTL_LIB_XML_VEXA_FIRMWARE_PACKAGE_S, exist_package_version),
                  offsetof(UTL_LIB_XML_VEXA_FIRMWARE_PACKAGE_S, total_size),
                  offsetof(UTL_LIB_XML_VEXA_FIRMWARE_PACKAGE_S, exist_total_size),
                  offsetof(UTL_LIB_XML_VEXA_FIRMWARE_PACKAGE_S, description),
                  offsetof(UTL_LIB_XML_VEXA_FIRMWARE_PACKAGE_S, exist_description),
                  offsetof(UTL_LIB_XML_VEXA_FIRMWARE_PACKAGE_S, download_information),
                  offsetof(UTL_LIB_XML_VEXA_FIRMWARE_PACKAGE_S, package_type)}),
              "firmware package field order");
static_assert(utl_lib_xml_vexa_offsets_increasing({
                  offsetof(UTL_LIB_XML_VEXA_FIRMWARE_DOWNLOAD_INFORMATION_S, type),
                  offsetof(UTL_LIB_XML_VEXA_FIRMWARE_DOWNLOAD_INFORMATION_S, version),
                  offsetof(UTL_LIB_XML_VEXA_FIRMWARE_DOWNLOAD_INFORMATION_S, exist_version),
                  offsetof(UTL_LIB_XML_VEXA_FIRMWARE_DOWNLOAD_INFORMATION_S, data_information)}),
              "download information field order");
static_assert(utl_lib_xml_vexa_offsets_increasing({
                  offsetof(UTL_LIB_XML_VEXA_FIRMWARE_DATA_INFORMATION_S, name),
                  offsetof(UTL_LIB_XML_VEXA_FIRMWARE_DATA_INFORMATION_S, exist_name),
                  offsetof(UTL_LIB_XML_VEXA_FIRMWARE_DATA_INFORMATION_S, filename),
                  offsetof(UTL_LIB_XML_VEXA_FIRMWARE_DATA_INFORMATION_S, download_url),
                  offsetof(UTL_LIB_XML_VEXA_FIRMWARE_DATA_INFORMATION_S, exist_download_url),
                  offsetof(UTL_LIB_XML_VEXA_FIRMWARE_DATA_INFORMATION_S, checksum),
                  offsetof(UTL_LIB_XML_VEXA_FIRMWARE_DATA_INFORMATION_S, exist_checksum),
                  offsetof(UTL_LIB_XML_VEXA_FIRMWARE_DATA_INFORMATION_S, size),
                  offsetof(UTL_LIB_XML_VEXA_FIRMWARE_DATA_INFORMATION_S, exist_size),
                  offsetof(UTL_LIB_XML_VEXA_FIRMWARE_DATA_INFORMATION_S, version),
                  offsetof(UTL_LIB_XML_VEXA_FIRMWARE_DATA_INFORMATION_S, exist_version)}),
              "data information field order");
static_assert(utl_lib_xml_vexa_offsets_increasing({
                  offsetof(UTL_LIB_XML_VEXA_PROGRESS_INFO_S, percentage_completed),
                  offsetof(UTL_LIB_XML_VEXA_PROGRESS_INFO_S, exist_percentage_completed),
                  offsetof(UTL_LIB_XML_VEXA_PROGRESS_INFO_S, estimated_time),
                  offsetof(UTL_LIB_XML_VEXA_PROGRESS_INFO_S, exist_estimated_time),
                  offsetof(UTL_LIB_XML_VEXA_PROGRESS_INFO_S, elapsed_time),
                  offsetof(UTL_LIB_XML_VEXA_PROGRESS_INFO_S, exist_elapsed_time),
                  offsetof(UTL_LIB_XML_VEXA_PROGRESS_INFO_S, units_total),
                  offsetof(UTL_LIB_XML_VEXA_PROGRESS_INFO_S, exist_units_total),
                  offsetof(UTL_LIB_XML_VEXA_PROGRESS_INFO_S, units_completed),
                  offsetof(UTL_LIB_XML_VEXA_PROGRESS_INFO_S, exist_units_completed),
                  offsetof(UTL_LIB_XML_VEXA_PROGRESS_INFO_S, unit_name),
                  offsetof(UTL_LIB_XML_VEXA_PROGRESS_INFO_S, exist_unit_name),
                  offsetof(UTL_LIB_XML_VEXA_PROGRESS_INFO_S, unit_label),
                  offsetof(UTL_LIB_XML_VEXA_PROGRESS_INFO_S, exist_unit_label),
                  offsetof(UTL_LIB_XML_VEXA_PROGRESS_INFO_S, process_label),
                  offsetof(UTL_LIB_XML_VEXA_PROGRESS_INFO_S, exist_process_label)}),
              "progress info field order");
static_assert(utl_lib_xml_vexa_offsets_increasing({
                  offsetof(UTL_LIB_XML_VEXA_XMPP_PROGRESS_RESPONSE_S, cmd_status),
                  offsetof(UTL_LIB_XML_VEXA_XMPP_PROGRESS_RESPONSE_S, exist_cmd_status),
                  offsetof(UTL_LIB_XML_VEXA_XMPP_PROGRESS_RESPONSE_S, cmd_status_detail),
                  offsetof(UTL_LIB_XML_VEXA_XMPP_PROGRESS_RESPONSE_S, exist_cmd_status_detail),
                  offsetof(UTL_LIB_XML_VEXA_XMPP_PROGRESS_RESPONSE_S, percentage),
                  offsetof(UTL_LIB_XML_VEXA_XMPP_PROGRESS_RESPONSE_S, exist_percentage),
                  offsetof(UTL_LIB_XML_VEXA_XMPP_PROGRESS_RESPONSE_S, estimate),
                  offsetof(UTL_LIB_XML_VEXA_XMPP_PROGRESS_RESPONSE_S, exist_estimate),
                  offsetof(UTL_LIB_XML_VEXA_XMPP_PROGRESS_RESPONSE_S, main_progress_info),
                  offsetof(UTL_LIB_XML_VEXA_XMPP_PROGRESS_RESPONSE_S, exist_main_progress_info),
                  offsetof(UTL_LIB_XML_VEXA_XMPP_PROGRESS_RESPONSE_S, process_info)}),
              "progress response field order");
static_assert(utl_lib_xml_vexa_offsets_increasing({
                  offsetof(UTL_LIB_XML_VEXA_XMPP_COMMAND_RESULT_CODE_S, code),
                  offsetof(UTL_LIB_XML_VEXA_XMPP_COMMAND_RESULT_CODE_S, subcode),
                  offsetof(UTL_LIB_XML_VEXA_XMPP_COMMAND_RESULT_CODE_S, message),
                  offsetof(UTL_LIB_XML_VEXA_XMPP_COMMAND_RESULT_CODE_S, exist_message)}),
              "command result code field order");
static_assert(utl_lib_xml_vexa_offsets_increasing({
                  offsetof(UTL_LIB_XML_VEXA_XMPP_COMMAND_RESULT_S, result_code),
                  offsetof(UTL_LIB_XML_VEXA_XMPP_COMMAND_RESULT_S, exist_result_code),
                  offsetof(UTL_LIB_XML_VEXA_XMPP_COMMAND_RESULT_S, result_progress),
                  offsetof(UTL_LIB_XML_VEXA_XMPP_COMMAND_RESULT_S, exist_result_progress),
                  offsetof(UTL_LIB_XML_VEXA_XMPP_COMMAND_RESULT_S, result_process)}),
              "command result field order");
static_assert(utl_lib_xml_vexa_offsets_increasing({
                  offsetof(UTL_LIB_XML_VEXA_XMPP_CMDERROR_S, code),
                  offsetof(UTL_LIB_XML_VEXA_XMPP_CMDERROR_S, subcode),
                  offsetof(UTL_LIB_XML_VEXA_XMPP_CMDERROR_S, message),
                  offsetof(UTL_LIB_XML_VEXA_XMPP_CMDERROR_S, exist_message),
                  offsetof(UTL_LIB_XML_VEXA_XMPP_CMDERROR_S, result_progress),
                  offsetof(UTL_LIB_XML_VEXA_XMPP_CMDERROR_S, exist_result_progress),
                  offsetof(UTL_LIB_XML_VEXA_XMPP_CMDERROR_S, result_process)}),
              "command error field order");
static_assert(utl_lib_xml_vexa_offsets_increasing({
                  offsetof(UTL_LIB_XML_VEXA_XMPP_REQUEST_PARAM_S, ack_interval),
                  offsetof(UTL_LIB_XML_VEXA_XMPP_REQUEST_PARAM_S, exist_ack_interval)}),
              "request parameter field order");
static_assert(utl_lib_xml_vexa_offsets_increasing({
                  offsetof(UTL_LIB_XML_VEXA_XMPP_NOTE_S, exist_note),
                  offsetof(UTL_LIB_XML_VEXA_XMPP_NOTE_S, note),
                  offsetof(UTL_LIB_XML_VEXA_XMPP_NOTE_S, type)}),
              "note field order");
static_assert(utl_lib_xml_vexa_offsets_increasing({
                  offsetof(UTL_LIB_XML_VEXA_TASK_STATUS_INFO_, status),
                  offsetof(UTL_LIB_XML_VEXA_TASK_STATUS_INFO_, detailed_status)}),
              "task status field order");
static_assert(utl_lib_xml_vexa_offsets_increasing({
                  offsetof(UTL_LIB_XML_VEXA_INTERFACE_ERROR_S, exist_rexid),
                  offsetof(UTL_LIB_XML_VEXA_INTERFACE_ERROR_S, rexid),
                  offsetof(UTL_LIB_XML_VEXA_INTERFACE_ERROR_S, code),
                  offsetof(UTL_LIB_XML_VEXA_INTERFACE_ERROR_S, subcode),
                  offsetof(UTL_LIB_XML_VEXA_INTERFACE_ERROR_S, message),
                  offsetof(UTL_LIB_XML_VEXA_INTERFACE_ERROR_S, exist_message),
                  offsetof(UTL_LIB_XML_VEXA_INTERFACE_ERROR_S, result_progress),
                  offsetof(UTL_LIB_XML_VEXA_INTERFACE_ERROR_S, exist_result_progress),
                  offsetof(UTL_LIB_XML_VEXA_INTERFACE_ERROR_S, result_process)}),
              "error message field order");
static_assert(utl_lib_xml_vexa_offsets_increasing({
                  offsetof(UTL_LIB_XML_VEXA_INTERFACE_REQUEST_S, exist_device_id),
                  offsetof(UTL_LIB_XML_VEXA_INTERFACE_REQUEST_S, device_id),
                  offsetof(UTL_LIB_XML_VEXA_INTERFACE_REQUEST_S, agent_id),
                  offsetof(UTL_LIB_XML_VEXA_INTERFACE_REQUEST_S, url),
                  offsetof(UTL_LIB_XML_VEXA_INTERFACE_REQUEST_S, exist_rexid),
                  offsetof(UTL_LIB_XML_VEXA_INTERFACE_REQUEST_S, rexid),
                  offsetof(UTL_LIB_XML_VEXA_INTERFACE_REQUEST_S, agent),
                  offsetof(UTL_LIB_XML_VEXA_INTERFACE_REQUEST_S, notification_event),
                  offsetof(UTL_LIB_XML_VEXA_INTERFACE_REQUEST_S, exist_firmware_package),
                  offsetof(UTL_LIB_XML_VEXA_INTERFACE_REQUEST_S, firmware_package),
                  offsetof(UTL_LIB_XML_VEXA_INTERFACE_REQUEST_S, report),
                  offsetof(UTL_LIB_XML_VEXA_INTERFACE_REQUEST_S, exist_param),
                  offsetof(UTL_LIB_XML_VEXA_INTERFACE_REQUEST_S, param),
                  offsetof(UTL_LIB_XML_VEXA_INTERFACE_REQUEST_S, maintenance_response)}),
              "request field order");
static_assert(utl_lib_xml_vexa_offsets_increasing({
                  offsetof(UTL_LIB_XML_VEXA_INTERFACE_RESPONSE_S, exist_rexid),
                  offsetof(UTL_LIB_XML_VEXA_INTERFACE_RESPONSE_S, rexid),
                  offsetof(UTL_LIB_XML_VEXA_INTERFACE_RESPONSE_S, device),
                  offsetof(UTL_LIB_XML_VEXA_INTERFACE_RESPONSE_S, agent),
                  offsetof(UTL_LIB_XML_VEXA_INTERFACE_RESPONSE_S, digital_note),
                  offsetof(UTL_LIB_XML_VEXA_INTERFACE_RESPONSE_S, exist_progress),
                  offsetof(UTL_LIB_XML_VEXA_INTERFACE_RESPONSE_S, progress),
                  offsetof(UTL_LIB_XML_VEXA_INTERFACE_RESPONSE_S, maintenance_request),
                  offsetof(UTL_LIB_XML_VEXA_INTERFACE_RESPONSE_S, exist_maintenance_request),
                  offsetof(UTL_LIB_XML_VEXA_INTERFACE_RESPONSE_S, command_result),
                  offsetof(UTL_LIB_XML_VEXA_INTERFACE_RESPONSE_S, exist_command_result),
                  offsetof(UTL_LIB_XML_VEXA_INTERFACE_RESPONSE_S, status),
                  offsetof(UTL_LIB_XML_VEXA_INTERFACE_RESPONSE_S, detailed_status)}),
              "response field order");

}  // namespace norvane

#endif
