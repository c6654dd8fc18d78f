#!/usr/bin/env bash
# Fails when the library LIB needs a symbol beyond its own, SQLite's, ICU's, the C++ runtime's and a few
# harmless functions of the C library: so it cannot print, exit, start a thread or open a file.
set -euo pipefail

allowed='^(sqlite3_|u_[a-zA-Z]+_[0-9]+$|ucasemap_[a-zA-Z0-9]+_[0-9]+$'  # SQLite, ICU
allowed+='|_ZN?K?7velmora|_ZT[IVS]N7velmora|_ZNO?K?S[a-z]|_ZNKS[a-z]|_ZS|_ZT[IVS]|_ZN9__gnu_cxx|_Zn[wa]|_Zd[la]|__cxa_|__gxx_personality|__gcc_|__dynamic_cast|_Unwind_|__once'
allowed+='|_GLOBAL_OFFSET_TABLE_|__dso_handle|__libc_single_threaded|strcmp$|__stack_chk_fail|__(asan|ubsan|tsan)_|__sanitizer_|__emutls|_ITM_|__tls_'
allowed+='|log$|ceil$|mem(cpy|cmp|move|set|chr)$|bcmp$|strlen$|snprintf$|__snprintf_chk$|pthread_mutex_|pthread_once$|__memcpy_chk$|__memmove_chk$|__memset_chk$)'
forbidden='_ZSt4c(out|err|log)|_ZNSt6thread|basic_filebuf|basic_[io]?fstream'

needed=$(nm -u "$1" | awk '$1 == "U" || $1 == "w" {print $2}' | sort -u)
[ -n "$needed" ] || { echo "nm lists nothing for $1"; exit 1; }
bad=$(grep -vE "$allowed" <<<"$needed" || true)
bad+=$(grep -E "$forbidden" <<<"$needed" || true)
if [ -n "$bad" ]; then
  echo "the library needs:"
  echo "$bad"
  exit 1
fi
