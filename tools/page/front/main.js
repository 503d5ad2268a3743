// The page's start: the token, the panels, then the machine's state.

import { leave, takeToken } from './api.js';
import { startCheck } from './check.js';
import { byId, setProperty } from './dom.js';
import { restoreDraft } from './draft.js';
import { startGames } from './games.js';
import { startHead } from './head.js';
import { askForLog, startLog } from './log.js';
import { showBanner } from './notice.js';
import { startProfiles } from './profiles.js';
import { startQuality } from './quality.js';
import { startRoomPanel } from './roompanel.js';
import { startSettings } from './settings.js';
import { startSpeakers } from './speakers.js';
import { startSync } from './sync.js';
import { known, onChange } from './state.js';
import { startTop } from './top.js';
import { startTracker } from './tracker.js';

function start() {
    if (!takeToken()) {
        showBanner('This page needs the address that belongs to it. Open it with', 'tessarune-config page');
        return;
    }
    startSync(askForLog);  // the answer comes once the panels are built
    onChange(['server'], () => {
        setProperty(byId('page'), 'hidden', false);
        setProperty(byId('tools'), 'hidden', false);
        document.title = known.server.layout ? `${known.server.layout.name} – Tessarune` : 'Tessarune';
    });
    for (const build of [startTop, startCheck, startRoomPanel, startSpeakers, startHead, startTracker, startQuality, startGames,
        startLog, startProfiles, startSettings]) build();
    restoreDraft();
    window.addEventListener('pagehide', leave);
}

start();
