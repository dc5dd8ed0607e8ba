// The follower page in Debian's headless chromium against a real server
// (the program, run by tests/integration/e2e/web_follower.sh with its
// action script).  Usage: node follower.test.js <web port>
//
// The server selects "Twinkle Twinkle" (Tic Offset .4975: a measure every
// 1.2 s), plays it after a 1 s count-off, pauses about 8 s in for 2.5 s,
// lets it end, and after the play turns the page by hand.  The page must
// show page 1 of the song, put the cursor on measure 1 over its staff and
// move it onto measure 3 at the map's times, counted from the moment the
// server's "&START/" reached a plain client of the test's own (within
// 30 ms), turn to page 2 when the map says, hold the cursor through the
// pause, and follow the page turned by hand.  The server asks for the PIN
// 4321: the page asks once, says so at a wrong one, and a second page of
// the same browser afterwards is not asked again.
'use strict';
const net = require('net');
const puppeteer = require('puppeteer-core');

const port = Number(process.argv[2]);
const url = `http://127.0.0.1:${port}/`;
const TOLERANCE_MS = 30;
let failures = 0;
function check(ok, what) {
  console.log(`${ok ? 'ok' : 'FAIL'}: ${what}`);
  if (!ok) failures++;
}
const sleep = (ms) => new Promise((r) => setTimeout(r, ms));
const monoMs = () => Number(process.hrtime.bigint()) / 1e6;

// A client of the server's own kind on its TCP port (the web port's
// neighbour), noting on this process's clock when each start arrives.
const starts = [];
function plainClient(tcpPort) {
  const socket = net.connect(tcpPort, '127.0.0.1');
  socket.on('data', (d) => { if (d.toString('latin1').includes('&START/')) starts.push(monoMs()); });
  socket.on('error', () => {});
  return socket;
}

// The page's performance.now() on this process's clock: the reading
// bracketed by the shortest of many round trips into the page.
async function pageClock(page) {
  let best = null;
  for (let i = 0; i < 30; i++) {
    const before = monoMs();
    const perf = await page.evaluate(() => performance.now());
    const after = monoMs();
    if (!best || after - before < best.span) best = { span: after - before, delta: (before + after) / 2 - perf };
  }
  return best;
}

async function waitFor(page, fn, timeoutMs, what, ...args) {
  try {
    await page.waitForFunction(fn, { timeout: timeoutMs, polling: 50 }, ...args);
    return true;
  } catch (_) {
    check(false, `${what} (waited ${timeoutMs} ms)`);
    return false;
  }
}

async function serverUp() {
  for (let i = 0; i < 600; i++) {
    try {
      const r = await fetch(url);
      if (r.ok) return true;
    } catch (_) { /* not yet */ }
    await sleep(100);
  }
  return false;
}

(async () => {
  if (!(await serverUp())) {
    console.log(`FAIL: no page at ${url}`);
    process.exit(1);
  }
  // Nothing outside the named resources is served.
  for (const path of ['/../../etc/passwd', '/%2e%2e/%2e%2e/etc/passwd', '/Mellivane.conf',
                      '/sheet/1/1/1/../../../../etc/passwd']) {
    const r = await fetch(url.slice(0, -1) + path);
    check(r.status === 404, `${path} answers 404 (got ${r.status})`);
  }

  const client = plainClient(port - 1);
  const browser = await puppeteer.launch({
    executablePath: process.env.CHROMIUM || '/usr/bin/chromium',
    headless: true,
    args: ['--no-sandbox', '--disable-gpu', '--no-first-run', '--disable-dev-shm-usage'],
  });
  try {
    // The 65th follower's page, its stream closed as the full server closes
    // it (the server's side is tested on real sockets): it shows the reason
    // and does not knock again.
    const full = await browser.newPage();
    await full.evaluateOnNewDocument(() => {
      window.opened = 0;
      window.WebSocket = class {
        constructor() {
          window.opened++;
          setTimeout(() => this.onclose({ code: 1008, reason: 'Full.' }), 50);
        }
        send() {}
      };
    });
    await full.goto(url, { waitUntil: 'load' });
    await sleep(2600); // a page that retries does so after 2 s
    const refused = await full.evaluate(() => [window.opened, document.getElementById('message').textContent]);
    check(refused[0] === 1 && refused[1] === 'Full.', `a full server's page shows why and stays (${refused})`);
    await full.close();

    const page = await browser.newPage();
    await page.setViewport({ width: 800, height: 1000 });
    await page.goto(url, { waitUntil: 'load' });
    // The PIN: a wrong one is told, the right one lets the page in.
    const pinShown = (shown) => document.getElementById('pinbox').hidden === !shown;
    if (await waitFor(page, pinShown, 60000, 'the page asks for the PIN', true)) {
      await page.type('#pin', '1111');
      await page.keyboard.press('Enter');
      await waitFor(page, () => !document.getElementById('pinwrong').hidden, 10000,
                    'a wrong PIN is told as wrong');
      await page.$eval('#pin', (e) => { e.value = ''; });
      await page.type('#pin', '4321');
      await page.keyboard.press('Enter');
      if (await waitFor(page, pinShown, 10000, 'the right PIN lets the page in', false))
        check(true, 'the page asks for the PIN and takes the right one');
    }
    // Every change of the tic and the page on show, with its moment.
    await page.evaluate(() => {
      window.seen = [];
      const body = document.body;
      new MutationObserver(() => {
        const st = window.mellivane;
        window.seen.push({
          t: performance.now(), tic: Number(body.dataset.tic), page: Number(body.dataset.page),
          cursor: body.dataset.cursor === '1', clock: st.clock && { ...st.clock },
        });
      }).observe(body, { attributes: true, attributeFilter: ['data-tic', 'data-page'] });
    });

    await waitFor(page, () => document.getElementById('song').textContent === 'Twinkle Twinkle',
                  60000, 'the heading names the server\'s song');
    await waitFor(page, () => {
      const img = document.getElementById('page');
      return document.body.dataset.page === '1' && img.complete && img.naturalWidth === 800 &&
        /\/sheet\/\d+\/1\/1\/800\.png\?key=[0-9a-f]{32}$/.test(img.getAttribute('src'));
    }, 20000, 'page 1 shows, rendered 800 pixels wide for an 800-pixel device');
    check(true, 'the page loads and shows page 1 of the song');

    // The play: measure 1, measure 3, the pause, the page turn, the end.
    await waitFor(page, () => window.seen.some((s) => s.tic >= 20), 90000, 'the play reaches measure 21');
    await waitFor(page, () => window.mellivane.playing === false, 30000, 'the play ends');
    const seen = await page.evaluate(() => window.seen);
    const song = await page.evaluate(() => window.mellivane.song);
    const clock = await pageClock(page);
    console.log(`page clock read within ${clock.span.toFixed(2)} ms`);
    // Before the pause each tic is due its map time after the start reached
    // the plain client (on loopback, a fraction of a millisecond after the
    // server sent it as its play began), on this process's clock.
    check(starts.length === 1, `the plain client saw one start (${starts.length})`);
    const firstOf = (k) => seen.find((s) => s.tic === k);
    for (const [k, what] of [[0, 'measure 1'], [2, 'measure 3']]) {
      const s = firstOf(k);
      if (!s || !starts.length) { check(false, `the cursor comes onto ${what}`); continue; }
      const late = s.t + clock.delta - (starts[0] + song.tics[k][0]);
      check(s.cursor && s.page === 1 && Math.abs(late) <= TOLERANCE_MS,
            `the cursor stands on ${what} on page 1, ${late.toFixed(1)} ms from its time`);
    }
    const turn = seen.find((s) => s.page === 2);
    check(turn && turn.tic === 20, 'page 2 shows with measure 21, as the map says');
    // The pause: one tic held for the 2.5 s the server holds it, where a
    // measure otherwise lasts 1.2 s.
    const moves = seen.filter((s, i) => i === 0 || s.tic !== seen[i - 1].tic);
    const held = moves.slice(1).map((s, i) => ({ tic: moves[i].tic, ms: s.t - moves[i].t }))
      .filter((g) => g.tic >= 0 && g.tic < song.tics.length - 1 && g.ms > 2000);
    check(held.length === 1 && held[0].ms > 2300 && held[0].ms < 4500,
          `pause holds the cursor on one measure (${held.map((g) => `${g.ms.toFixed(0)} ms on tic ${g.tic}`)})`);

    // The cursor over the first measure's staff: the demo's maps put its
    // bottom 90 twips (4.5 points) above the top staff line.
    const onStaff = await page.evaluate(() => {
      const st = window.mellivane;
      const t = st.song.tics[0];
      const img = document.getElementById('page');
      const c = document.createElement('canvas');
      c.width = img.naturalWidth; c.height = img.naturalHeight;
      const g = c.getContext('2d');
      g.drawImage(img, 0, 0);
      const px = img.naturalWidth / st.song.pages[0][0];
      const x = Math.round((t[2] + st.song.cursor[0] / 2) * px);
      const bottom = (t[3] + st.song.cursor[1]) * px;
      const dark = [];
      for (let y = Math.round(bottom); y < bottom + 12 * px; y++) {
        const d = g.getImageData(x - 20, y, 40, 1).data;
        let ink = 0;
        for (let i = 0; i < d.length; i += 4) if (d[i] < 128) ink++;
        if (ink > 30) dark.push(((y - bottom) / px).toFixed(1));
      }
      return dark;
    });
    check(onStaff.length > 0 && Number(onStaff[0]) >= 2 && Number(onStaff[0]) <= 7,
          `a staff line runs under the cursor on measure 1, ${onStaff[0]} points below it`);

    // After the play the program goes back a page; then Next PG by hand.
    if (await waitFor(page, () => document.body.dataset.page === '1', 15000, 'the page goes back after the play')) {
      await waitFor(page, () => document.body.dataset.page === '2', 20000,
                    'a manual Next PG on the server turns the page');
      check(true, 'the page follows the server\'s page turns by hand');
    }

    // The same device again: no PIN asked.
    const again = await browser.newPage();
    await again.evaluateOnNewDocument(() => {
      window.asked = false;
      document.addEventListener('DOMContentLoaded', () => {
        const box = document.getElementById('pinbox');
        new MutationObserver(() => { if (!box.hidden) window.asked = true; })
          .observe(box, { attributes: true });
      });
    });
    await again.goto(url, { waitUntil: 'load' });
    if (await waitFor(again, () => document.getElementById('song').textContent === 'Twinkle Twinkle',
                      10000, 'a second page of the same browser follows the server'))
      check(!(await again.evaluate(() => window.asked)), 'the same device is not asked for the PIN again');
    await again.close();
  } finally {
    client.destroy();
    await browser.close();
  }
  console.log(failures ? `${failures} check(s) failed` : 'all checks passed');
  process.exit(failures ? 1 : 0);
})().catch((e) => {
  console.log(`FAIL: ${e.stack || e}`);
  process.exit(1);
});
