<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<!-- Hand-written: never run lupdate over it. -->
<TS version="2.1" language="en_US" sourcelanguage="en_US">
<context>
    <name>Plenda</name>
    <message id="Plenda">
        <source>Plenda</source>
        <translation>Plenda</translation>
    </message>
    <message id="Allowed">
        <source>Allowed</source>
        <translation>Allowed</translation>
    </message>
    <message id="Site addresses and editor project names become block titles and sync to your private iCloud database. Nothing is sent anywhere else. Pause tracking from the menu to stop recording entirely.">
        <source>Site addresses and editor project names become block titles and sync to your private iCloud database. Nothing is sent anywhere else. Pause tracking from the menu to stop recording entirely.</source>
        <translation>Site addresses and editor project names become block titles and sync to your private iCloud database. Nothing is sent anywhere else. Pause tracking from the menu to stop recording entirely.</translation>
    </message>
    <message id="category.mind">
        <source>Mind</source>
        <translation>Mind</translation>
    </message>
    <message id="category.body">
        <source>Body</source>
        <translation>Body</translation>
    </message>
    <message id="category.work">
        <source>Work</source>
        <translation>Work</translation>
    </message>
    <message id="category.social">
        <source>Social</source>
        <translation>Social</translation>
    </message>
    <message id="category.selfcare">
        <source>Self-care</source>
        <translation>Self-care</translation>
    </message>
    <message id="category.meals">
        <source>Meals</source>
        <translation>Meals</translation>
    </message>
    <message id="category.entertainment">
        <source>Entertainment</source>
        <translation>Entertainment</translation>
    </message>
    <message id="category.chores">
        <source>Chores</source>
        <translation>Chores</translation>
    </message>
    <message id="category.commute">
        <source>Commute</source>
        <translation>Commute</translation>
    </message>
    <message id="category.sleep">
        <source>Sleep</source>
        <translation>Sleep</translation>
    </message>
    <message id="mac.today">
        <source>Today</source>
        <translation>Today</translation>
    </message>
    <message id="mac.today.lower">
        <source>today</source>
        <translation>today</translation>
    </message>
    <message id="mac.tracked">
        <source>%1 tracked</source>
        <translation>%1 tracked</translation>
    </message>
    <message id="mac.other">
        <source>Other</source>
        <translation>Other</translation>
    </message>
    <message id="mac.category">
        <source>Category</source>
        <translation>Category</translation>
    </message>
    <message id="mac.category.application">
        <source>Always for %1</source>
        <translation>Always for %1</translation>
    </message>
    <message id="mac.delete">
        <source>Delete</source>
        <translation>Delete</translation>
    </message>
    <message id="mac.empty.title">
        <source>Nothing tracked yet</source>
        <translation>Nothing tracked yet</translation>
    </message>
    <message id="mac.empty.body">
        <source>Activities appear here as you work. Keep Plenda running in the background.</source>
        <translation>Activities appear here as you work. Keep Plenda running in the background.</translation>
    </message>
    <message id="mac.open">
        <source>Open Plenda</source>
        <translation>Open Plenda</translation>
    </message>
    <message id="mac.pause">
        <source>Pause</source>
        <translation>Pause</translation>
    </message>
    <message id="mac.resume">
        <source>Resume</source>
        <translation>Resume</translation>
    </message>
    <message id="mac.paused">
        <source>Paused</source>
        <translation>Paused</translation>
    </message>
    <message id="mac.settings">
        <source>Settings</source>
        <translation>Settings</translation>
    </message>
    <message id="mac.quit">
        <source>Quit</source>
        <translation>Quit</translation>
    </message>
    <message id="mac.browser.access">
        <source>Allow Browsers</source>
        <translation>Allow Browsers</translation>
    </message>
    <message id="mac.project.names">
        <source>Show Project Names</source>
        <translation>Show Project Names</translation>
    </message>
    <message id="mac.grant.browser">
        <source>Allow reading browser tabs…</source>
        <translation>Allow reading browser tabs…</translation>
    </message>
    <message id="mac.grant.projects">
        <source>Allow reading project names…</source>
        <translation>Allow reading project names…</translation>
    </message>
    <message id="mac.day.previous">
        <source>Previous day</source>
        <translation>Previous day</translation>
    </message>
    <message id="mac.day.next">
        <source>Next day</source>
        <translation>Next day</translation>
    </message>
    <message id="mac.period">
        <source>Period</source>
        <translation>Period</translation>
    </message>
    <message id="mac.period.day">
        <source>Day</source>
        <translation>Day</translation>
    </message>
    <message id="mac.period.week">
        <source>Week</source>
        <translation>Week</translation>
    </message>
    <message id="mac.period.month">
        <source>Month</source>
        <translation>Month</translation>
    </message>
    <message id="mac.add.help">
        <source>Add a block…</source>
        <translation>Add a block…</translation>
    </message>
    <message id="mac.export">
        <source>Export…</source>
        <translation>Export…</translation>
    </message>
    <message id="mac.week.chart">
        <source>The week by day</source>
        <translation>The week by day</translation>
    </message>
    <message id="mac.month.chart">
        <source>The month by day</source>
        <translation>The month by day</translation>
    </message>
    <message id="mac.thisweek">
        <source>This Week</source>
        <translation>This Week</translation>
    </message>
    <message id="mac.thismonth">
        <source>This Month</source>
        <translation>This Month</translation>
    </message>
    <message id="mac.weekof">
        <source>Week of %1</source>
        <translation>Week of %1</translation>
    </message>
    <message id="mac.average">
        <source>%1 a tracked day</source>
        <translation>%1 a tracked day</translation>
    </message>
    <message id="mac.add.title">
        <source>Add a Block</source>
        <translation>Add a Block</translation>
    </message>
    <message id="mac.add.placeholder">
        <source>A run, lunch, the commute…</source>
        <translation>A run, lunch, the commute…</translation>
    </message>
    <message id="mac.field.title">
        <source>Title</source>
        <translation>Title</translation>
    </message>
    <message id="mac.field.day">
        <source>Day</source>
        <translation>Day</translation>
    </message>
    <message id="mac.field.start">
        <source>Start</source>
        <translation>Start</translation>
    </message>
    <message id="mac.field.end">
        <source>End</source>
        <translation>End</translation>
    </message>
    <message id="mac.field.duration">
        <source>Duration</source>
        <translation>Duration</translation>
    </message>
    <message id="mac.field.note">
        <source>Note</source>
        <translation>Note</translation>
    </message>
    <message id="mac.add">
        <source>Add</source>
        <translation>Add</translation>
    </message>
    <message id="mac.add.midnight">
        <source>A block ends after it starts, on the same day.</source>
        <translation>A block ends after it starts, on the same day.</translation>
    </message>
    <message id="mac.edit">
        <source>Edit…</source>
        <translation>Edit…</translation>
    </message>
    <message id="mac.edit.title">
        <source>Edit %1</source>
        <translation>Edit %1</translation>
    </message>
    <message id="mac.edit.blocks">
        <source>Its blocks</source>
        <translation>Its blocks</translation>
    </message>
    <message id="mac.edit.apply">
        <source>Apply</source>
        <translation>Apply</translation>
    </message>
    <message id="mac.edit.split">
        <source>Split at</source>
        <translation>Split at</translation>
    </message>
    <message id="mac.edit.refused">
        <source>Not changed: a block ends after it starts, on the same day, and has a title.</source>
        <translation>Not changed: a block ends after it starts, on the same day, and has a title.</translation>
    </message>
    <message id="mac.edit.split.refused">
        <source>A block is split at a time between its start and its end.</source>
        <translation>A block is split at a time between its start and its end.</translation>
    </message>
    <message id="mac.day.treemap">
        <source>The day by time spent</source>
        <translation>The day by time spent</translation>
    </message>
    <message id="mac.sync.now">
        <source>Sync now</source>
        <translation>Sync now</translation>
    </message>
    <message id="mac.sync.pending">
        <source>Waiting to sync</source>
        <translation>Waiting to sync</translation>
    </message>
    <message id="mac.sync.syncing">
        <source>Syncing…</source>
        <translation>Syncing…</translation>
    </message>
    <message id="mac.sync.synced">
        <source>Synced with iCloud</source>
        <translation>Synced with iCloud</translation>
    </message>
    <message id="mac.sync.local">
        <source>Saved on this Mac</source>
        <translation>Saved on this Mac</translation>
    </message>
    <message id="mac.sync.incomplete">
        <source>Some changes not synced yet</source>
        <translation>Some changes not synced yet</translation>
    </message>
    <message id="mac.sync.unavailable">
        <source>iCloud unavailable</source>
        <translation>iCloud unavailable</translation>
    </message>
    <message id="mac.sync.testmode">
        <source>Sync off (test mode)</source>
        <translation>Sync off (test mode)</translation>
    </message>
    <message id="mac.settings.general">
        <source>General</source>
        <translation>General</translation>
    </message>
    <message id="mac.settings.tracking">
        <source>Tracking</source>
        <translation>Tracking</translation>
    </message>
    <message id="mac.settings.privacy">
        <source>Privacy</source>
        <translation>Privacy</translation>
    </message>
    <message id="mac.settings.launch">
        <source>Open at login</source>
        <translation>Open at login</translation>
    </message>
    <message id="mac.settings.launch.note">
        <source>Plenda starts quietly in the menu bar when you log in.</source>
        <translation>Plenda starts quietly in the menu bar when you log in.</translation>
    </message>
    <message id="mac.settings.idle">
        <source>Pause when idle for</source>
        <translation>Pause when idle for</translation>
    </message>
    <message id="mac.settings.merge">
        <source>Join sessions within</source>
        <translation>Join sessions within</translation>
    </message>
    <message id="mac.settings.minimum">
        <source>Ignore sessions shorter than</source>
        <translation>Ignore sessions shorter than</translation>
    </message>
    <message id="mac.settings.ignored">
        <source>Ignored apps</source>
        <translation>Ignored apps</translation>
    </message>
    <message id="mac.settings.add">
        <source>Add</source>
        <translation>Add</translation>
    </message>
    <message id="mac.settings.remove">
        <source>Remove</source>
        <translation>Remove</translation>
    </message>
    <message id="mac.settings.browser">
        <source>Browser tabs</source>
        <translation>Browser tabs</translation>
    </message>
    <message id="mac.settings.projects">
        <source>Project names</source>
        <translation>Project names</translation>
    </message>
    <message id="mac.settings.grant.automation">
        <source>Allow…</source>
        <translation>Allow…</translation>
    </message>
    <message id="mac.settings.grant.accessibility">
        <source>Allow…</source>
        <translation>Allow…</translation>
    </message>
    <message id="mac.minutes.1">
        <source>1 minute</source>
        <translation>1 minute</translation>
    </message>
    <message id="mac.minutes.2">
        <source>2 minutes</source>
        <translation>2 minutes</translation>
    </message>
    <message id="mac.minutes.3">
        <source>3 minutes</source>
        <translation>3 minutes</translation>
    </message>
    <message id="mac.minutes.5">
        <source>5 minutes</source>
        <translation>5 minutes</translation>
    </message>
    <message id="mac.minutes.10">
        <source>10 minutes</source>
        <translation>10 minutes</translation>
    </message>
    <message id="mac.minutes.15">
        <source>15 minutes</source>
        <translation>15 minutes</translation>
    </message>
    <message id="mac.seconds.5">
        <source>5 seconds</source>
        <translation>5 seconds</translation>
    </message>
    <message id="mac.seconds.15">
        <source>15 seconds</source>
        <translation>15 seconds</translation>
    </message>
    <message id="mac.seconds.30">
        <source>30 seconds</source>
        <translation>30 seconds</translation>
    </message>
    <message id="mac.sessions" numerus="yes">
        <source>%n sessions</source>
        <translation>
            <numerusform>%n session</numerusform>
            <numerusform>%n sessions</numerusform>
        </translation>
    </message>
    <message id="Site addresses and editor project names become block titles and sync to your private iCloud database. Nothing is sent anywhere else. Pause tracking from the menu to stop recording entirely.@linux">
        <source>Window and editor project names become block titles, kept in your data folder where only you can read them. Nothing is sent anywhere. Pause tracking from the menu to stop recording entirely.</source>
        <translation>Window and editor project names become block titles, kept in your data folder where only you can read them. Nothing is sent anywhere. Pause tracking from the menu to stop recording entirely.</translation>
    </message>
    <message id="mac.settings.privacy.standin">
        <source>Blocks are also copied to %1, the sync file named by PLENDA_CLOUD_STORE.</source>
        <translation>Blocks are also copied to %1, the sync file named by PLENDA_CLOUD_STORE.</translation>
    </message>
    <message id="mac.sync.synced@linux">
        <source>Synced</source>
        <translation>Synced</translation>
    </message>
    <message id="mac.sync.local@linux">
        <source>Saved on this computer</source>
        <translation>Saved on this computer</translation>
    </message>
    <message id="mac.sync.unavailable@linux">
        <source>Cloud sync off</source>
        <translation>Cloud sync off</translation>
    </message>
    <message id="mac.sync.testmode@linux">
        <source>Cloud sync off</source>
        <translation>Cloud sync off</translation>
    </message>
    <message id="mac.settings.launch.note@linux">
        <source>Plenda starts in the system tray when you log in.</source>
        <translation>Plenda starts in the system tray when you log in.</translation>
    </message>
    <message id="mac.settings.browser.unavailable">
        <source>Not available on Linux</source>
        <translation>Not available on Linux</translation>
    </message>
</context>
</TS>
