#pragma once

/// What the command's exit status says; scripts rely on it.
enum class PDXExitStatus : int {
  done = 0,
  incomplete = 1,    ///< Done, but something that the backup holds could not be read or written.
  usage = 2,         ///< The command line is wrong.
  noBackup = 3,      ///< No such backup, or the folder is none.
  password = 4,      ///< The backup is encrypted and no password, or a wrong one, was given.
  unwritable = 5,    ///< The output cannot be written, or memory ran out.
  interrupted = 130  ///< Ended by Ctrl-C or another signal.
};
