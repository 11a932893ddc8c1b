-- Wireshark dissector for the firmware-update accessory protocol between a
-- phone and the device: a 16-byte big-endian header, then the upload's body
-- bytes, which may continue over later transfers.
--
-- It decodes
--   * captures written by "fwupdate-mobile --capture" (link type USER0, the
--     direction in each packet's flags: outbound = sent by the phone), and
--   * usbmon captures of a real phone in accessory mode, as a heuristic
--     dissector on USB bulk transfers (IN endpoint = sent by the phone).
--
-- Use: wireshark -X lua_script:tools/wireshark/fwupdate.lua capture.pcapng
-- or copy the file into the personal Lua plugins folder.
--
-- The device cuts its input the way this file does (see "reassembly" below):
-- a transfer that arrives while an upload is in progress is body, whatever it
-- holds; any other transfer starts a packet with its first 16 bytes.

local fwupdate = Proto("fwupdate", "Firmware update accessory protocol")

local HEADER_SIZE = 16

-- Names of the codes: the program's own enumerators without their common
-- prefix QAV_MNT_FWUPDATE_MBA_.
local commands = {
    [0x0012] = "REQUEST_CMD_SEND_FIRMWARE_UPGRADE_FILE",
    [0x0013] = "REQUEST_CMD_GET_FIRMWARE_UPGRADE_STATUS",
    [0x8012] = "RESPONSE_CMD_SEND_FIRMWARE_UPGRADE_FILE",
    [0x8013] = "RESPONSE_CMD_GET_FIRMWARE_UPGRADE_STATUS",
}
local results = {
    [0] = "RESULT_CODE_OK",
    [20] = "RESULT_CODE_ERROR_IN_DOWNLOAD",
    [21] = "RESULT_CODE_ERROR_IN_FW_FILE",
    [22] = "RESULT_CODE_ERROR_IN_STORING_FILE",
}
local request_options = {
    [1] = "OPTION_CODE_FW_PACKAGE_STORED",
    [2] = "OPTION_CODE_FW_PACKAGE_VALIDATION",
}
local reply_options = {
    [1] = "OPTION_CODE_OPERATION_STILL_ONGOING",
    [2] = "OPTION_CODE_OPERATION_FINISHED",
}

local CMD_UPLOAD = 0x0012
local CMD_STATUS = 0x0013
local CMD_UPLOAD_REPLY = 0x8012
local CMD_STATUS_REPLY = 0x8013

local FROM_PHONE = 0
local FROM_DEVICE = 1
local directions = { [FROM_PHONE] = "phone to device", [FROM_DEVICE] = "device to phone" }

local f = {
    direction = ProtoField.uint8("fwupdate.direction", "Direction", base.DEC, directions),
    header = ProtoField.bytes("fwupdate.header", "Header"),
    version = ProtoField.uint16("fwupdate.version", "Version", base.DEC),
    reserved = ProtoField.uint16("fwupdate.reserved", "Reserved", base.HEX),
    request_id = ProtoField.uint16("fwupdate.request_id", "Request id", base.DEC),
    result = ProtoField.uint16("fwupdate.result", "Result", base.DEC, results),
    command = ProtoField.uint16("fwupdate.command", "Command", base.HEX, commands),
    request_option = ProtoField.uint16("fwupdate.option", "Option", base.DEC, request_options),
    reply_option = ProtoField.uint16("fwupdate.option", "Option", base.DEC, reply_options),
    option = ProtoField.uint16("fwupdate.option", "Option", base.DEC),
    data_size = ProtoField.uint32("fwupdate.data_size", "Data size", base.DEC),
    body = ProtoField.bytes("fwupdate.body", "Body"),
    body_offset = ProtoField.uint32("fwupdate.body.offset", "Offset in the upload", base.DEC),
    body_length = ProtoField.uint32("fwupdate.body.length", "Body bytes", base.DEC),
    body_end = ProtoField.bool("fwupdate.body.end", "Completes the upload"),
    upload_in = ProtoField.framenum("fwupdate.upload_in", "Upload header in", base.NONE,
                                    frametype.REQUEST),
    response_in = ProtoField.framenum("fwupdate.response_in", "Reply in", base.NONE,
                                      frametype.RESPONSE),
    response_to = ProtoField.framenum("fwupdate.response_to", "Reply to the request in",
                                      base.NONE, frametype.REQUEST),
    response_time = ProtoField.relative_time("fwupdate.time", "Time since the request"),
}
fwupdate.fields = {
    f.direction, f.header, f.version, f.reserved, f.request_id, f.result, f.command,
    f.request_option, f.reply_option, f.option, f.data_size, f.body, f.body_offset,
    f.body_length, f.body_end, f.upload_in, f.response_in, f.response_to, f.response_time,
}

local e = {
    body_in_header = ProtoExpert.new("fwupdate.body_in_header_transfer",
        "Body bytes in the header's transfer", expert.group.PROTOCOL, expert.severity.WARN),
    id_mismatch = ProtoExpert.new("fwupdate.request_id_mismatch",
        "Reply's request id differs from the request's", expert.group.SEQUENCE,
        expert.severity.WARN),
    no_request = ProtoExpert.new("fwupdate.reply_without_request",
        "Reply without a request", expert.group.SEQUENCE, expert.severity.WARN),
    unknown_command = ProtoExpert.new("fwupdate.unknown_command",
        "Unknown command", expert.group.PROTOCOL, expert.severity.WARN),
    unknown_option = ProtoExpert.new("fwupdate.unknown_option",
        "Unknown status option", expert.group.PROTOCOL, expert.severity.WARN),
    error_result = ProtoExpert.new("fwupdate.error_result",
        "Error result", expert.group.RESPONSE_CODE, expert.severity.NOTE),
    overrun = ProtoExpert.new("fwupdate.body_overrun",
        "Body beyond the announced size", expert.group.PROTOCOL, expert.severity.WARN),
    short_header = ProtoExpert.new("fwupdate.short_header",
        "Transfer shorter than a header", expert.group.MALFORMED, expert.severity.ERROR),
    reply_body = ProtoExpert.new("fwupdate.reply_with_body",
        "Reply announces body bytes", expert.group.PROTOCOL, expert.severity.WARN),
}
fwupdate.experts = {
    e.body_in_header, e.id_mismatch, e.no_request, e.unknown_command, e.unknown_option,
    e.error_result, e.overrun, e.short_header, e.reply_body,
}

local usb_endpoint = Field.new("usb.endpoint_address")
local usb_direction = Field.new("usb.endpoint_address.direction")
local usb_bus = Field.new("usb.bus_id")
local usb_device = Field.new("usb.device_address")

-- What the first pass learnt about each frame, by frame number; later passes
-- (and the GUI's random access) only read it. links holds, per link, the
-- reassembly and the requests still waiting for their reply.
local frames = {}
local links = {}

function fwupdate.init()
    frames = {}
    links = {}
end

local function link_state(key)
    local link = links[key]
    if link == nil then
        link = {
            upload = nil,        -- upload in progress: header frame, size, body bytes so far
            last_upload = nil,   -- the upload request the upload reply answers
            queries = {},        -- status queries waiting for their reply, oldest first
            endpoints = {},      -- USB endpoint of each direction, once it carried a packet
        }
        links[key] = link
    end
    return link
end

local function name_of(table, value)
    return table[value] or string.format("unknown (0x%04x)", value)
end

local function header_fields(tvb)
    return {
        version = tvb(0, 2):uint(),
        reserved = tvb(2, 2):uint(),
        request_id = tvb(4, 2):uint(),
        result = tvb(6, 2):uint(),
        command = tvb(8, 2):uint(),
        option = tvb(10, 2):uint(),
        data_size = tvb(12, 4):uint(),
    }
end

-- A request: an upload starts the reassembly; a status query waits for its
-- reply. Mirrors the device: an upload whose body is all in this transfer
-- (or that has none) leaves no upload in progress.
local function learn_request(link, info, number, length)
    local h = info.header
    if h.command == CMD_UPLOAD then
        link.last_upload = { frame = number, request_id = h.request_id, time = info.time }
        local body = length - HEADER_SIZE
        if body > 0 then
            info.body_offset = 0
            info.body_length = body
            info.upload_frame = number
            info.body_in_header = true
            info.whole_body_in_header = h.data_size + HEADER_SIZE <= length
            info.body_end = info.whole_body_in_header
            if h.data_size + HEADER_SIZE < length then
                info.overrun = length - HEADER_SIZE - h.data_size
            end
        end
        if h.data_size + HEADER_SIZE > length then
            link.upload = { frame = number, size = h.data_size, received = math.max(body, 0) }
        end
    elseif h.command == CMD_STATUS then
        table.insert(link.queries, { frame = number, request_id = h.request_id, time = info.time })
    end
end

-- A reply answers the last upload (the device echoes the header that started
-- it) or the oldest unanswered status query.
local function learn_reply(link, info)
    local h = info.header
    local request = nil
    if h.command == CMD_UPLOAD_REPLY then
        request = link.last_upload
        link.last_upload = nil
    elseif h.command == CMD_STATUS_REPLY then
        request = table.remove(link.queries, 1)
    end
    if request ~= nil then
        info.response_to = request.frame
        info.request_id_expected = request.request_id
        local elapsed_us = math.floor((info.time - request.time) * 1e6 + 0.5)
        info.response_time = NSTime.new(math.floor(elapsed_us / 1000000), (elapsed_us % 1000000) * 1000)
        frames[request.frame].response_in = info.number
    end
end

local function learn_body(link, info, length)
    local upload = link.upload
    info.upload_frame = upload.frame
    info.body_offset = upload.received
    info.body_length = length
    upload.received = upload.received + length
    if upload.received >= upload.size then
        info.body_end = true
        if upload.received > upload.size then
            info.overrun = upload.received - upload.size
        end
        link.upload = nil
    end
end

-- First pass over a transfer: how the device cuts it, and what it pairs with.
local function learn(tvb, pinfo, link, from)
    local info = { number = pinfo.number, from = from, time = pinfo.rel_ts }
    frames[pinfo.number] = info
    if from == FROM_PHONE and link.upload ~= nil then
        info.kind = "body"
        learn_body(link, info, tvb:len())
        return info
    end
    if tvb:len() < HEADER_SIZE then
        info.kind = "short"
        return info
    end
    info.kind = "header"
    info.header = header_fields(tvb)
    if from == FROM_PHONE then
        learn_request(link, info, pinfo.number, tvb:len())
    else
        learn_reply(link, info)
    end
    return info
end

local function add_body(tree, info, tvb, offset)
    local length = tvb:len() - offset
    local body = tree:add(f.body, tvb(offset, length))
    body:add(f.body_offset, info.body_offset):set_generated()
    body:add(f.body_length, length):set_generated()
    if info.body_end then
        body:add(f.body_end, true):set_generated()
    end
    body:add(f.upload_in, info.upload_frame):set_generated()
    if info.overrun ~= nil then
        body:add_proto_expert_info(e.overrun, string.format(
            "%d bytes beyond the announced size: the device takes them as body", info.overrun))
    end
end

local function option_field(command)
    if command == CMD_STATUS then
        return f.request_option
    elseif command == CMD_STATUS_REPLY then
        return f.reply_option
    end
    return f.option
end

local function summary(info)
    local h = info.header
    if h.command == CMD_UPLOAD then
        return string.format("Upload request, id %d, %d bytes", h.request_id, h.data_size)
    elseif h.command == CMD_STATUS then
        return string.format("Status query, id %d, %s", h.request_id,
                             name_of(request_options, h.option))
    elseif h.command == CMD_UPLOAD_REPLY then
        return string.format("Upload reply, id %d, %s", h.request_id, name_of(results, h.result))
    elseif h.command == CMD_STATUS_REPLY then
        return string.format("Status reply, id %d, %s, %s", h.request_id,
                             name_of(reply_options, h.option), name_of(results, h.result))
    end
    return string.format("Unknown command 0x%04x, id %d", h.command, h.request_id)
end

local function add_expert_notes(item, info)
    local h = info.header
    if commands[h.command] == nil then
        local what = info.from == FROM_PHONE
            and ": the device ends the run without a reply" or ""
        item:add_proto_expert_info(e.unknown_command,
            string.format("Unknown command 0x%04x%s", h.command, what))
    end
    if h.command == CMD_STATUS and request_options[h.option] == nil then
        item:add_proto_expert_info(e.unknown_option, string.format(
            "Status option %d: the device answers finished with result 21 and ends the run",
            h.option))
    end
    if info.body_in_header then
        if info.whole_body_in_header then
            item:add_proto_expert_info(e.body_in_header,
                "Body bytes in the header's transfer: the device stores the package followed by 16 zero bytes")
        else
            item:add_proto_expert_info(e.body_in_header,
                "Body bytes in the header's transfer: the device stores 16 zero bytes inside the package, which then fails verification")
        end
    end
    if info.from == FROM_DEVICE then
        if (h.command == CMD_UPLOAD_REPLY or h.command == CMD_STATUS_REPLY)
                and info.response_to == nil then
            item:add_proto_expert_info(e.no_request, "Reply without a request")
        end
        if info.response_to ~= nil and info.request_id_expected ~= h.request_id then
            item:add_proto_expert_info(e.id_mismatch, string.format(
                "Reply's request id %d differs from %d of the request in frame %d",
                h.request_id, info.request_id_expected, info.response_to))
        end
        if h.result ~= 0 then
            item:add_proto_expert_info(e.error_result, string.format("Result %d %s",
                h.result, name_of(results, h.result)))
        end
        if h.data_size ~= 0 then
            item:add_proto_expert_info(e.reply_body,
                string.format("Reply announces %d body bytes; replies have none", h.data_size))
        end
    end
end

local function add_header(tree, info, tvb)
    local h = info.header
    local header = tree:add(f.header, tvb(0, HEADER_SIZE))
    header:set_text("Header: " .. summary(info))
    header:add(f.version, tvb(0, 2))
    header:add(f.reserved, tvb(2, 2))
    header:add(f.request_id, tvb(4, 2))
    header:add(f.result, tvb(6, 2))
    header:add(f.command, tvb(8, 2))
    header:add(option_field(h.command), tvb(10, 2))
    header:add(f.data_size, tvb(12, 4))
    if info.response_in ~= nil then
        tree:add(f.response_in, info.response_in):set_generated()
    end
    if info.response_to ~= nil then
        tree:add(f.response_to, info.response_to):set_generated()
        tree:add(f.response_time, info.response_time):set_generated()
    end
end

local function show(tvb, pinfo, tree, info)
    pinfo.cols.protocol = "FWUPDATE"
    local item = tree:add(fwupdate, tvb())
    item:add(f.direction, info.from):set_generated()
    if info.kind == "body" then
        pinfo.cols.info = string.format("Upload body, %d bytes at offset %d%s", tvb:len(),
                                        info.body_offset, info.body_end and " (last)" or "")
        item:append_text(", upload body")
        add_body(item, info, tvb, 0)
        return
    end
    if info.kind == "short" then
        pinfo.cols.info = string.format("Transfer of %d bytes, shorter than a header", tvb:len())
        item:add_proto_expert_info(e.short_header)
        return
    end
    local text = summary(info)
    if info.body_length ~= nil then
        text = text .. string.format(", with %d body bytes", info.body_length)
    end
    pinfo.cols.info = text
    item:append_text(", " .. summary(info))
    add_header(item, info, tvb)
    if info.body_length ~= nil then
        add_body(item, info, tvb, HEADER_SIZE)
    end
    add_expert_notes(item, info)
end

-- The simulator's captures: one link, direction from the packet flags.
function fwupdate.dissector(tvb, pinfo, tree)
    local info = frames[pinfo.number]
    if info == nil then
        -- Outbound (sent by the phone) is 0, inbound 1.
        local from = pinfo.p2p_dir == 1 and FROM_DEVICE or FROM_PHONE
        info = learn(tvb, pinfo, link_state("capture"), from)
    end
    pinfo.cols.src = info.from == FROM_PHONE and "phone" or "device"
    pinfo.cols.dst = info.from == FROM_PHONE and "device" or "phone"
    show(tvb, pinfo, tree, info)
    return tvb:len()
end

-- A plausible header: a known command whose reply bit fits the direction.
local function looks_like_header(tvb, from)
    if tvb:len() < HEADER_SIZE then
        return false
    end
    local command = tvb(8, 2):uint()
    if commands[command] == nil then
        return false
    end
    local is_reply = command >= 0x8000
    return is_reply == (from == FROM_DEVICE)
end

-- USB bulk transfers of a phone in accessory mode: the phone sends on its IN
-- endpoint and receives on its OUT endpoint; other interfaces of the same
-- phone (a debugging bridge, say) use other endpoints. A transfer is taken
-- when it continues an upload on the phone's endpoint, looks like a header,
-- or is any header-sized transfer on an endpoint that already carried the
-- protocol (an unknown command, for instance).
local function heuristic(tvb, pinfo, tree)
    local info = frames[pinfo.number]
    if info == nil then
        local direction = usb_direction()
        if direction == nil or tvb:len() == 0 then
            return false
        end
        local from = direction.value == 1 and FROM_PHONE or FROM_DEVICE
        local endpoint = usb_endpoint().value
        local key = string.format("usb %d.%d", usb_bus().value, usb_device().value)
        local link = link_state(key)
        local known = link.endpoints[from] == endpoint
        local continues = known and from == FROM_PHONE and link.upload ~= nil
        if not (continues or looks_like_header(tvb, from)
                or (known and tvb:len() >= HEADER_SIZE)) then
            return false
        end
        link.endpoints[from] = endpoint
        info = learn(tvb, pinfo, link, from)
    end
    show(tvb, pinfo, tree, info)
    return true
end

DissectorTable.get("wtap_encap"):add(wtap_encaps.USER0, fwupdate)
fwupdate:register_heuristic("usb.bulk", heuristic)
