#!/usr/bin/env bash
# Runs the checks of the exports on the library for x86-64-v4 where no processor has AVX-512: in a PC that
# Bochs emulates, instruction by instruction, with Debian's kernel and nothing else in it.
#
# usage: tests/v4_emulated.sh BUILD, the folder where the project is built
#
# Takes some minutes. Exit status 77 if there is no emulator.
set -euo pipefail
caller=$PWD
cd "$(dirname "$(readlink -f "$0")")/.."
. tools/setup.sh
sources=$PWD build=$(cd "$caller" && realpath "$1")
require_packages "${machine_packages[@]}" || exit 77
work=$build/v4-emulated
mkdir -p "$work"
cd "$work"

# A kernel, taken out of its package.
if ! compgen -G 'kernel/boot/vmlinuz-*' > /dev/null; then
  package=$(apt-cache depends linux-image-cloud-amd64 | sed -n '0,/Depends: /s/.*Depends: //p')
  apt-get download "$package" > download.log 2>&1 || { cat download.log; exit 77; }
  dpkg -x linux-image-*.deb kernel
  rm linux-image-*.deb
fi

# What is in the machine: this, as its root.
rm -rf root disc
mkdir -p root/bin root/proc root/dev root/lib64 root/checks disc/isolinux
cp "$(command -v busybox)" root/bin/busybox
ln -s busybox root/bin/sh
cp "$build/tests/library_checks" root/checks/
cp -L "$build/src/glibc-hwcaps/x86-64-v4/libqelvmpx.so.5" root/checks/v4.so
cp -r "$sources/families" root/checks/
ldd root/checks/library_checks |
  sed -n 's/.*=> \(\/[^ ]*\) .*/\1/p' | sort -u | xargs -I LIBRARY cp -L LIBRARY root/checks/
cp -L /lib64/ld-linux-x86-64.so.2 root/lib64/
cat > root/init << 'END'
#!/bin/sh
export PATH=/bin LD_LIBRARY_PATH=/checks
busybox mount -t proc proc /proc
busybox mount -t devtmpfs devices /dev
exec > /dev/ttyS0 2>&1
cd /checks
checked() {
  name=$1
  shift
  "$@" > output 2>&1
  status=$?
  busybox grep FAILED output
  echo "v4 $name: $(busybox tail -n 1 output), status $status"
}
checked frame ./library_checks ./v4.so frame v4
checked values ./library_checks ./v4.so values families
checked golden ./library_checks ./v4.so golden families
echo "v4: all checks ran"
busybox sleep 1
busybox poweroff -f
END
chmod +x root/init
(cd root && find . | cpio -o -H newc --quiet | gzip -1) > disc/root.gz
cp kernel/boot/vmlinuz-* disc/vmlinuz
cp /usr/lib/ISOLINUX/isolinux.bin /usr/lib/syslinux/modules/bios/ldlinux.c32 disc/isolinux/
# (Its XSAVES and XSAVEC have sizes that the kernel does not believe, and then there would be no AVX.)
cat > disc/isolinux/isolinux.cfg << 'END'
DEFAULT linux
LABEL linux
KERNEL /vmlinuz
APPEND initrd=/root.gz console=ttyS0 quiet mitigations=off tsc=reliable lpj=1000000 noxsaves clearcpuid=xsavec
END
xorriso -as mkisofs -quiet -o disc.iso -b isolinux/isolinux.bin -c isolinux/boot.cat -no-emul-boot \
  -boot-load-size 4 -boot-info-table disc 2> /dev/null
cat > bochsrc << 'END'
cpu: model=corei7_skylake_x, ips=50000000
memory: guest=512, host=512
romimage: file=/usr/share/bochs/BIOS-bochs-latest
vgaromimage: file=/usr/share/bochs/VGABIOS-lgpl-latest
ata0-master: type=cdrom, path=disc.iso, status=inserted
boot: cdrom
com1: enabled=1, mode=file, dev=serial.log
display_library: rfb, options="timeout=0"
log: bochs.log
panic: action=fatal
error: action=ignore
END
rm -f serial.log
bochs -q -f bochsrc <<< c > bochs.out 2>&1 &
machine=$!
trap 'kill "$machine" 2> /dev/null || true' EXIT
trap 'exit 1' TERM
wait "$machine" || true # it calls the power switch a panic
tr -d '\r' < serial.log | grep '^v4\|FAILED' || tail -n 20 bochs.out
tr -d '\r' < serial.log | grep -q '^v4: all' && ! tr -d '\r' < serial.log | grep -q '^v4 .*, status [^0]'
