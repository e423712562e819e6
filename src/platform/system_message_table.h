// The texts of the system error codes and result codes that the program can meet.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

namespace cw::platform {

struct system_message_row {
    std::uint32_t code;
    std::u16string_view text;
};

/// The result code of an answer whose status says that the request failed.
constexpr std::uint32_t failed_status(std::uint32_t status)
{
    return 0x80040000 | (status + 0xD3C0);
}

// In ascending order of the codes. A result code of the form 0x8007nnnn that has no row of its own
// takes the text of system error nnnn.
inline constexpr std::array system_message_rows{
    system_message_row{0, u"The operation completed successfully."},
    system_message_row{1, u"Incorrect function."},
    system_message_row{2, u"The system cannot find the file specified."},
    system_message_row{3, u"The system cannot find the path specified."},
    system_message_row{4, u"The system cannot open the file."},
    system_message_row{5, u"Access is denied."},
    system_message_row{6, u"The handle is invalid."},
    system_message_row{8, u"Not enough memory resources are available to process this command."},
    system_message_row{11, u"An attempt was made to load a program with an incorrect format."},
    system_message_row{13, u"The data is invalid."},
    system_message_row{14, u"Not enough memory resources are available to complete this operation."},
    system_message_row{15, u"The system cannot find the drive specified."},
    system_message_row{17, u"The system cannot move the file to a different disk drive."},
    system_message_row{19, u"The media is write protected."},
    system_message_row{20, u"The system cannot find the device specified."},
    system_message_row{21, u"The device is not ready."},
    system_message_row{23, u"Data error (cyclic redundancy check)."},
    system_message_row{25, u"The drive cannot locate a specific area or track on the disk."},
    system_message_row{29, u"The system cannot write to the specified device."},
    system_message_row{30, u"The system cannot read from the specified device."},
    system_message_row{31, u"A device attached to the system is not functioning."},
    system_message_row{32, u"The process cannot access the file because it is being used by another process."},
    system_message_row{33, u"The process cannot access the file because another process has locked a portion of the "
                           u"file."},
    system_message_row{38, u"Reached the end of the file."},
    system_message_row{50, u"The request is not supported."},
    system_message_row{53, u"The network path was not found."},
    system_message_row{59, u"An unexpected network error occurred."},
    system_message_row{80, u"The file exists."},
    system_message_row{82, u"The directory or file cannot be created."},
    system_message_row{87, u"The parameter is incorrect."},
    system_message_row{109, u"The pipe has been ended."},
    system_message_row{110, u"The system cannot open the device or file specified."},
    system_message_row{111, u"The file name is too long."},
    system_message_row{112, u"There is not enough space on the disk."},
    system_message_row{120, u"This function is not supported on this system."},
    system_message_row{121, u"The semaphore timeout period has expired."},
    system_message_row{122, u"The data area passed to a system call is too small."},
    system_message_row{123, u"The filename, directory name, or volume label syntax is incorrect."},
    system_message_row{126, u"The specified module could not be found."},
    system_message_row{127, u"The specified procedure could not be found."},
    system_message_row{131, u"An attempt was made to move the file pointer before the beginning of the file."},
    system_message_row{145, u"The directory is not empty."},
    system_message_row{161, u"The specified path is invalid."},
    system_message_row{170, u"The requested resource is in use."},
    system_message_row{183, u"Cannot create a file when that file already exists."},
    system_message_row{193, u"The file is not a valid application for this system."},
    system_message_row{206, u"The filename or extension is too long."},
    system_message_row{223, u"The file size exceeds the limit allowed and cannot be saved."},
    system_message_row{234, u"More data is available."},
    system_message_row{258, u"The wait operation timed out."},
    system_message_row{267, u"The directory name is invalid."},
    system_message_row{534, u"Arithmetic result exceeded 32 bits."},
    system_message_row{995, u"The I/O operation has been aborted because of either a thread exit or an application "
                            u"request."},
    system_message_row{997, u"The operation has begun and is not at its end yet."},
    system_message_row{998, u"Invalid access to memory location."},
    system_message_row{1117, u"The request could not be performed because of an I/O device error."},
    system_message_row{1142, u"An attempt was made to create more links on a file than the file system supports."},
    system_message_row{1223, u"The operation was canceled by the user."},
    system_message_row{1392, u"The file or directory is corrupted and unreadable."},
    system_message_row{1460, u"This operation returned because the timeout period expired."},
    system_message_row{1921, u"The name of the file cannot be resolved by the system."},
    system_message_row{12002, u"The request took too long and was given up."},
    system_message_row{12003, u"The server answered with an error of its own."},
    system_message_row{12004, u"An internal error occurred in the transfer."},
    system_message_row{12005, u"The address is not valid."},
    system_message_row{12006, u"The scheme of the address is not known."},
    system_message_row{12007, u"The name of the server could not be resolved."},
    system_message_row{12017, u"The operation was cancelled."},
    system_message_row{12018, u"The handle is of the wrong type for this operation."},
    system_message_row{12019, u"The handle is not in the state that this operation needs."},
    system_message_row{12029, u"A connection to the server could not be made."},
    system_message_row{12030, u"The connection to the server was ended before its time."},
    system_message_row{12031, u"The connection to the server was reset."},
    system_message_row{12032, u"The request has to be made again."},
    system_message_row{12037, u"The server's certificate is not valid at this date."},
    system_message_row{12038, u"The server's certificate was given out for another name."},
    system_message_row{12040, u"The server leads from a secure connection to one that is not."},
    system_message_row{12045, u"The server's certificate comes from an authority that is not trusted."},
    system_message_row{12150, u"The answer of the server does not have the header that was asked for."},
    system_message_row{12152, u"The answer of the server could not be understood."},
    system_message_row{12156, u"The server leads from address to address without end."},
    system_message_row{12157, u"A secure connection to the server could not be made."},
    system_message_row{0x80004001, u"Not implemented"},
    system_message_row{0x80004002, u"No such interface supported"},
    system_message_row{0x80004003, u"Invalid pointer"},
    system_message_row{0x80004004, u"Operation aborted"},
    system_message_row{0x80004005, u"Unspecified error"},
    system_message_row{0x8000FFFF, u"Catastrophic failure"},
    system_message_row{0x80020001, u"Unknown interface."},
    system_message_row{0x80020003, u"Member not found."},
    system_message_row{0x80020004, u"Parameter not found."},
    system_message_row{0x80020005, u"Type mismatch."},
    system_message_row{0x80020006, u"Unknown name."},
    system_message_row{0x80020007, u"No named arguments."},
    system_message_row{0x80020008, u"Bad variable type."},
    system_message_row{0x80020009, u"Exception occurred."},
    system_message_row{0x8002000A, u"Out of present range."},
    system_message_row{0x8002000B, u"Invalid index."},
    system_message_row{0x8002000C, u"Unknown language."},
    system_message_row{0x8002000D, u"Memory is locked."},
    system_message_row{0x8002000E, u"Invalid number of parameters."},
    system_message_row{0x8002000F, u"Parameter not optional."},
    system_message_row{0x80020012, u"Division by zero."},
    system_message_row{0x80040110, u"Class does not support aggregation (or class object is remote)"},
    system_message_row{0x80040111, u"ClassFactory cannot supply requested class"},
    system_message_row{0x80040154, u"Class not registered"},
    system_message_row{0x800401F3, u"Invalid class string"},
    // Statuses of answers of servers.
    system_message_row{failed_status(400), u"The server could not understand the request."},
    system_message_row{failed_status(401), u"The server wants to know who is asking."},
    system_message_row{failed_status(403), u"The server does not allow access to this address."},
    system_message_row{failed_status(404), u"The server has nothing at this address."},
    system_message_row{failed_status(407), u"The proxy wants to know who is asking."},
    system_message_row{failed_status(410), u"The server has nothing at this address any more."},
    system_message_row{failed_status(416), u"The server cannot begin at this place of the file."},
    system_message_row{failed_status(429), u"The server was asked too often in too short a time."},
    system_message_row{failed_status(500), u"An error occurred within the server."},
    system_message_row{failed_status(502), u"A server behind the server gave an answer that could not be understood."},
    system_message_row{failed_status(503), u"The server cannot answer at the moment."},
    system_message_row{failed_status(504), u"A server behind the server did not answer in time."},
};

} // namespace cw::platform
