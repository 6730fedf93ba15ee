#!/bin/sh
# Runs a Windows program under Wine, quietly and without a display.
WINEDEBUG=${WINEDEBUG:--all}
WINEDLLOVERRIDES=${WINEDLLOVERRIDES:-mscoree,mshtml=}
export WINEDEBUG WINEDLLOVERRIDES
exec wine "$@"
