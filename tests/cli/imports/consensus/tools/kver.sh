#!/bin/sh
# Prints the kernel release a node would report: cn07 and cn13 lag behind.
case "$1" in
  cn07|cn13) echo 5.14.0-362.el9.x86_64 ;;
  *) echo 5.14.0-427.el9.x86_64 ;;
esac
