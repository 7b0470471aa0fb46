#!/bin/sh
# Doxygen input filter: everything that a family header declares in the
# namespace goes into that family's group (families.dox), so that the
# reference is grouped by family while the headers keep their comments as
# written. The markers open and close on the namespace's own lines, inside
# it (a group around the namespace would take in only the namespace), and
# keep the line numbers.
case "${1##*/}" in
  TQByteArray.h) group=bytearray ;;
  TQBase64.h) group=base64 ;;
  TQMD5.h) group=md5 ;;
  BufferFunctions.h) group=buffers ;;
  StdString.h) group=strings ;;
  Encoding.h) group=encodings ;;
  Locks.h) group=locks ;;
  System.h) group=system ;;
  *) exec cat "$1" ;;
esac
exec sed -e "s|^namespace TQBase {\$|& /** \\\\addtogroup $group */ /** @{ */|" \
  -e 's|^}  // namespace TQBase$|/** @} */ &|' "$1"
