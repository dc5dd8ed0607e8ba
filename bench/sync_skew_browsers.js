// The browser followers of bench/sync_skew: Debian's chromium, headless,
// one page for each address given (each its own delay proxy in front of the
// server's web port).  Usage:
//   node sync_skew_browsers.js <address>...
// Prints "ready" once every page shows the song and knows the server's
// clock.  On a line "report" from stdin, prints one JSON line a page:
//   {"tics": [[tic, map ms, shown ns, zero ns, rate, from ms], ...]}
// one entry each time the page put its cursor on another tic: `shown` is
// the moment it did, `zero` the moment the page took the play's map zero
// to fall on (the play clock's `at` less its offset estimate), both on the
// machine's monotonic clock (CLOCK_MONOTONIC, as the bench's own).
'use strict';
const puppeteer = require('puppeteer-core');
const readline = require('readline');

const addresses = process.argv.slice(2);
const monoNs = () => Number(process.hrtime.bigint());

// The page's performance.now() against the machine's monotonic clock: the
// reading bracketed by the shortest of many round trips into the page.
async function clockOf(page) {
  let best = null;
  for (let i = 0; i < 40; i++) {
    const before = monoNs();
    const perf = await page.evaluate(() => performance.now());
    const after = monoNs();
    if (!best || after - before < best.span) best = { span: after - before, delta: (before + after) / 2 - perf * 1e6 };
  }
  return best;
}

(async () => {
  const browser = await puppeteer.launch({
    executablePath: process.env.CHROMIUM || '/usr/bin/chromium',
    headless: true,
    args: ['--no-sandbox', '--disable-gpu', '--no-first-run', '--disable-dev-shm-usage'],
  });
  const pages = [];
  for (const address of addresses) {
    const page = await browser.newPage();
    await page.setViewport({ width: 800, height: 1000 });
    await page.goto(address, { waitUntil: 'load' });
    await page.evaluate(() => {
      window.seen = [];
      const body = document.body;
      new MutationObserver(() => {
        const t = performance.now();
        const st = window.mellivane;
        const tic = Number(body.dataset.tic);
        const c = st.clock;
        if (tic < 0 || !c || !st.song || st.offset === null) return;
        if (window.seen.length && window.seen[window.seen.length - 1][0] === tic) return;
        window.seen.push([tic, st.song.tics[tic][0], t, c.at - st.offset, c.rate, c.map]);
      }).observe(body, { attributes: true, attributeFilter: ['data-tic'] });
    });
    pages.push(page);
  }
  for (const page of pages) {
    await page.waitForFunction(() => {
      const st = window.mellivane;
      return st.song && st.song.tics.length > 0 && st.offset !== null;
    }, { timeout: 60000, polling: 100 });
  }
  console.log('ready');

  const input = readline.createInterface({ input: process.stdin });
  for await (const line of input) {
    if (line.trim() !== 'report') continue;
    for (const page of pages) {
      const clock = await clockOf(page);
      const seen = await page.evaluate(() => window.seen);
      const mono = (ms) => ms * 1e6 + clock.delta;
      const tics = seen.map(([tic, ms, t, zero, rate, from]) => [tic, ms, mono(t), mono(zero), rate, from]);
      console.log(JSON.stringify({ tics, bracketNs: clock.span }));
    }
    break;
  }
  await browser.close();
  process.exit(0);
})().catch((e) => {
  console.error(`browser followers: ${e.stack || e}`);
  process.exit(1);
});
