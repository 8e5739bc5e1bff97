#pragma once

/// The words and field names of the records between the gateway and quorin-dicom.
///
/// quorin-dicom finds its end of the channel as descriptor kChannelDescriptor; nothing stands in its
/// argument list but the role, "scp", "worker", "unpack" or "sender".
namespace gateway::platform::dicom_protocol {

inline constexpr int kChannelDescriptor = 3;

// To the scp: `start` once, then `stop`. Closing the channel means stop as well.
//   start    port, bind (address, empty for all), timeout (seconds, idle association),
//            inbox (folder), reserve (bytes kept free)
//   abort    association; it may finish its object under way
//   ping     answered by `pong`: a sign of life; not while it stops
//   stop
// From the scp:
//   listening  port (the bound one)
//   refused    code (one of `refusal`) and its values: folder, address, port, error (as errno), message; the
//              scp then ends with a non-zero status
//   pong
//   leftover   an association's process ended before it could tell everything: the inbox may hold complete
//   files
//              that no `progress` named
//   unbound    after a stop: the port is free again; associations may still finish their object
//   started    peer, association
//   progress   association, file (the name of a complete, durable file in the inbox)
//   complete   association
//   failed     association, message
// The last four may come from any of the association's processes, in order for one association.

// To a worker: one job at a time, answered by one record.
//   parse    path
//   convert  path, output (a path that doesn't exist yet)
//   sendable path, output (a path that doesn't exist yet)
//   compare  path (fetched), sent, stored
//   version  path
// From a worker:
//   parsed     the elements, by their keys; each value begins with the letter of its type, see below
//   unreadable message (not DICOM, no identity, ...)
//   sendable   path (the output, or the input's where that can go as it is), converted (1 where the output is
//              the JPEG-LS form), study, series, instance (of the dataset; empty where it has none), version
//   nameless   the object has no instance UID by which an answer could name it; version
//   version    version (as in `sendable`)
//   same, different
//   failed     message; version, where the object was to be made sendable and could be read
// No message holds anything that a file says.

// To an unpacker: one job, after which it ends.
//   unpack   path, folder (empty), entries and bytes (the most there may be), reserve (bytes kept free)
// From an unpacker:
//   unpacking  files, bytes; so far, again and again
//   unpacked   files, bytes, leftout (links, devices and the like)
//   unreadable the archive is damaged or of a kind that isn't known
//   encrypted  the archive is protected by a password
//   toolarge   the archive holds more than it may
//   nostorage  the folder can't take what the archive holds

// To a sender: one job, after which it ends.
//   send     address (numeric), port, called, calling (titles), study, series, instance (UIDs of the sample),
//            date (YYYYMMDD), time (HHMMSS)
// From a sender:
//   stored
//   failed   status (of the answer to the C-STORE)
//   unreachable, rejected, nottaken, broken, silent

/// Why an scp can't listen.
namespace refusal {
inline constexpr char kFolderUnusable[] = "folder_unusable";                 ///< folder, error
inline constexpr char kFolderCannotSync[] = "folder_cannot_sync";            ///< folder, error
inline constexpr char kFolderCannotKeepTimes[] = "folder_cannot_keep_times"; ///< folder, error
inline constexpr char kFolderExchanged[] = "folder_exchanged";               ///< folder
inline constexpr char kAddressUnknown[] = "address_unknown";                 ///< address
inline constexpr char kAddressNotHere[] = "address_not_here";                ///< address
inline constexpr char kPortTaken[] = "port_taken";                           ///< port
inline constexpr char kPortReserved[] = "port_reserved";                     ///< port
inline constexpr char kPortImpossible[] = "port_impossible";                 ///< port
inline constexpr char kPortUnusable[] = "port_unusable";                     ///< port, error
inline constexpr char kOther[] = "other";                                    ///< message, in English
} // namespace refusal

inline constexpr char kTextValue = 's';    ///< UTF-8
inline constexpr char kIntegerValue = 'i'; ///< decimal, within 64 bits
inline constexpr char kRealValue = 'r';    ///< decimal, with a point or an exponent where needed
inline constexpr char kRealsValue = 'v';   ///< such numbers, parted by backslashes
inline constexpr char kBooleanValue = 'b'; ///< 1 or 0
/// YYYY-MM-DD, THH:MM:SS.mmm where the time is known, and +HH:MM where the offset from UTC is too.
inline constexpr char kDateValue = 'd';

} // namespace gateway::platform::dicom_protocol
