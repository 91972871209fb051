// Browsers of the distribution, without their windows.

import { execFile, spawn } from 'node:child_process';
import { accessSync } from 'node:fs';
import { promisify } from 'node:util';
import puppeteer from 'puppeteer-core';

const miniBrowsers = ['4.1', '4.0', '6.0'].map((version) => `/usr/lib/${process.arch === 'arm64' ? 'aarch64' : 'x86_64'}-linux-gnu/webkit2gtk-${version}/MiniBrowser`);

const settings = {
  chromium: { browser: 'chrome', executablePath: '/usr/bin/chromium', args: ['--no-sandbox', '--disable-gpu', '--disable-quic',
    '--no-first-run', '--disable-background-networking', '--disable-component-update', '--disable-sync'] },
  firefox: { browser: 'firefox', executablePath: '/usr/bin/firefox-esr' },
};

/** A browser that can be driven (not webkit), of puppeteer. */
export const drive = (name) => puppeteer.launch({ headless: true, timeout: 60000, ...settings[name] });

/** Opens an address: { version, close }. */
export async function launch(name, address) {
  if (name !== 'webkit') {
    const browser = await drive(name);
    const page = await browser.newPage();
    await page.goto(address);
    return { version: (await browser.version()).replace(/\//, ' '), close: () => browser.close() };
  }
  const program = miniBrowsers.find((path) => {
    try {
      accessSync(path);
      return true;
    } catch {
      return false;
    }
  });
  if (!program) throw new Error('WebKitGTK has no MiniBrowser here');
  const { stdout } = await promisify(execFile)('xvfb-run', ['-a', program, '--version']);
  // A group of its own: xvfb-run leaves its children behind.
  const child = spawn('xvfb-run', ['-a', program, '--private', address], { detached: true, stdio: 'ignore' });
  return { version: stdout.trim(), close: async () => process.kill(-child.pid) };
}
