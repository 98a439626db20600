<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de">
<context>
    <name></name>
    <message id="quality.small">
        <source>Small</source>
        <translation>Klein</translation>
    </message>
    <message id="quality.medium">
        <source>Medium</source>
        <translation>Mittel</translation>
    </message>
    <message id="quality.large">
        <source>Large</source>
        <translation>Groß</translation>
    </message>
    <message id="DownloadItem.Waiting">
        <source>Waiting</source>
        <translation>Wartet</translation>
    </message>
    <message id="DownloadItem.Downloading">
        <source>Downloading</source>
        <translation>Wird geladen</translation>
    </message>
    <message id="DownloadItem.Converting">
        <source>Converting</source>
        <translation>Wird umgewandelt</translation>
    </message>
    <message id="DownloadItem.Copying">
        <source>Copying</source>
        <translation>Wird kopiert</translation>
    </message>
    <message id="DownloadItem.Done">
        <source>Done</source>
        <translation>Fertig</translation>
    </message>
    <message id="DownloadItem.Canceled">
        <source>Canceled</source>
        <translation>Abgebrochen</translation>
    </message>
    <message id="DownloadItem.Failed">
        <source>Failed</source>
        <translation>Fehlgeschlagen</translation>
    </message>
    <message id="MainMenu.Application">
        <source>Melodrift</source>
        <translation>Melodrift</translation>
    </message>
    <message id="MainMenu.Settings">
        <source>Settings…</source>
        <translation>Einstellungen…</translation>
    </message>
    <message id="MainMenu.Quit">
        <source>Quit</source>
        <translation>Beenden</translation>
    </message>
    <message id="MainMenu.MenuTitle">
        <source>Library</source>
        <translation>Bibliothek</translation>
    </message>
    <message id="MainMenu.MenuSearch">
        <source>Search</source>
        <translation>Suche</translation>
    </message>
    <message id="MainMenu.MenuDownloads">
        <source>Downloads</source>
        <translation>Downloads</translation>
    </message>
    <message id="Downloads.Title">
        <source>Downloads</source>
        <translation>Downloads</translation>
    </message>
    <message id="Downloads.OpenFolder">
        <source>Open Downloads folder</source>
        <translation>Download-Ordner öffnen</translation>
    </message>
    <message id="Downloads.Empty">
        <source>Nothing downloaded yet. Videos and sound tracks you save appear here.</source>
        <translation>Noch nichts geladen. Gespeicherte Videos und Tonspuren erscheinen hier.</translation>
    </message>
    <message id="Downloads.Cancel">
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message id="Downloads.Play">
        <source>Play</source>
        <translation>Abspielen</translation>
    </message>
    <message id="Downloads.Progress">
        <source>Progress</source>
        <translation>Fortschritt</translation>
    </message>
    <message id="Downloads.BytesOfTotal">
        <source>%1 of %2</source>
        <translation>%1 von %2</translation>
    </message>
    <message id="Downloads.Speed">
        <source>%1/s</source>
        <translation>%1/s</translation>
    </message>
    <message id="Downloads.TimeLeft">
        <source>%1 left</source>
        <translation>noch %1</translation>
    </message>
    <message id="Downloads.ShowInFolder">
        <source>Show in folder</source>
        <translation>Im Ordner zeigen</translation>
    </message>
    <message id="Downloads.Retry">
        <source>Retry</source>
        <translation>Erneut versuchen</translation>
    </message>
    <message id="Downloads.Remove">
        <source>Remove from list</source>
        <translation>Aus der Liste entfernen</translation>
    </message>
    <message id="Downloads.ClearFinished">
        <source>Clear finished</source>
        <translation>Beendete entfernen</translation>
    </message>
    <message id="Downloads.FileGone">
        <source>File moved or deleted</source>
        <translation>Datei verschoben oder gelöscht</translation>
    </message>
    <message id="Downloads.NotFinished">
        <source>Not finished</source>
        <translation>Nicht beendet</translation>
    </message>
    <message id="Settings.FolderQuestion">
        <source>Save downloads in:</source>
        <translation>Downloads speichern in:</translation>
    </message>
    <message id="Settings.FolderChange">
        <source>Change…</source>
        <translation>Ändern…</translation>
    </message>
    <message id="Settings.FolderChooser">
        <source>Choose the Downloads folder</source>
        <translation>Downloads-Ordner wählen</translation>
    </message>
    <message id="Settings.FolderRefused">
        <source>Melodrift cannot save into %1: %2</source>
        <translation>Melodrift kann nicht in %1 speichern: %2</translation>
    </message>
    <message id="Downloads.FolderRefused">
        <source>Melodrift cannot save into %1: %2. Choose another folder in the settings.</source>
        <translation>Melodrift kann nicht in %1 speichern: %2. Wählen Sie in den Einstellungen einen anderen Ordner.</translation>
    </message>
    <message id="Settings.Title">
        <source>Settings</source>
        <translation>Einstellungen</translation>
    </message>
    <message id="Settings.Question">
        <source>When a video is saved:</source>
        <translation>Wenn ein Video gespeichert wird:</translation>
    </message>
    <message id="Settings.ConvertToH264">
        <source>Convert it to H.264 MP4, which plays everywhere</source>
        <translation>In H.264-MP4 umwandeln, das überall abspielbar ist</translation>
    </message>
    <message id="Settings.NoConversion">
        <source>Keep it as it was downloaded</source>
        <translation>So behalten, wie es geladen wurde</translation>
    </message>
    <message id="Search.Field">
        <source>Search</source>
        <translation>Suche</translation>
    </message>
    <message id="Search.Placeholder">
        <source>Search for videos or paste a video address</source>
        <translation>Videos suchen oder Video-Adresse einfügen</translation>
    </message>
    <message id="Preview.BrowserError">
        <source>The preview cannot play this format. You can still download it.</source>
        <translation>Die Vorschau kann dieses Format nicht abspielen. Herunterladen lässt es sich trotzdem.</translation>
    </message>
    <message id="Preview.WatchOnYouTube">
        <source>Watch on YouTube</source>
        <translation>Auf YouTube ansehen</translation>
    </message>
    <message id="Preview.DownloadVideo">
        <source>Download video</source>
        <translation>Video herunterladen</translation>
    </message>
    <message id="Preview.DownloadAudio">
        <source>Download audio</source>
        <translation>Ton herunterladen</translation>
    </message>
    <message id="Preview.Streams">
        <source>Streams</source>
        <translation>Streams</translation>
    </message>
    <message id="Preview.Loading">
        <source>Finding the streams</source>
        <translation>Streams werden gesucht</translation>
    </message>
    <message id="Preview.Player">
        <source>Player</source>
        <translation>Wiedergabe</translation>
    </message>
    <message id="Preview.EngineMissing">
        <source>The preview is not available: the web engine could not be loaded. Downloads still work.</source>
        <translation>Die Vorschau ist nicht verfügbar: Die Web-Engine ließ sich nicht laden. Herunterladen geht trotzdem.</translation>
    </message>
    <message id="Search.Clear">
        <source>Clear</source>
        <translation>Leeren</translation>
    </message>
    <message id="Search.Preview">
        <source>Preview</source>
        <translation>Vorschau</translation>
    </message>
    <message id="Search.DownloadVideo">
        <source>Download video</source>
        <translation>Video herunterladen</translation>
    </message>
    <message id="Search.DownloadAudio">
        <source>Download audio</source>
        <translation>Ton herunterladen</translation>
    </message>
    <message id="Search.FindingStreams">
        <source>Finding the streams</source>
        <translation>Streams werden gesucht</translation>
    </message>
    <message id="Search.Searching">
        <source>Searching</source>
        <translation>Suche läuft</translation>
    </message>
    <message id="Search.Progress">
        <source>Search progress</source>
        <translation>Fortschritt der Suche</translation>
    </message>
    <message id="Search.Results">
        <source>Results</source>
        <translation>Ergebnisse</translation>
    </message>
    <message id="Search.Failed">
        <source>The search failed: %1</source>
        <translation>Die Suche ist fehlgeschlagen: %1</translation>
    </message>
    <message id="Search.NoVideos">
        <source>No videos found</source>
        <translation>Keine Videos gefunden</translation>
    </message>
    <message id="Search.NoStream">
        <source>No stream of this video could be found.</source>
        <translation>Zu diesem Video wurde kein Stream gefunden.</translation>
    </message>
    <message id="Notification.Done">
        <source>Saved in the Downloads folder</source>
        <translation>Im Download-Ordner gespeichert</translation>
    </message>
    <message id="Notification.Failed">
        <source>Failed: %1</source>
        <translation>Fehlgeschlagen: %1</translation>
    </message>
    <message id="MainMenu.View">
        <source>&amp;View</source>
        <translation>&amp;Ansicht</translation>
    </message>
    <message id="MainMenu.ShowSearch">
        <source>Search</source>
        <translation>Suche</translation>
    </message>
    <message id="MainMenu.ShowDownloads">
        <source>Downloads</source>
        <translation>Downloads</translation>
    </message>
    <message id="MainMenu.Find">
        <source>Find…</source>
        <translation>Suchen…</translation>
    </message>
    <message id="Settings.EngineQuestion">
        <source>Find videos with:</source>
        <translation>Videos finden mit:</translation>
    </message>
    <message id="Settings.EngineClassic">
        <source>Melodrift's own reader</source>
        <translation>Melodrifts eigenem Leser</translation>
    </message>
    <message id="Settings.EngineYtDlp">
        <source>yt-dlp (%1)</source>
        <translation>yt-dlp (%1)</translation>
    </message>
    <message id="Settings.YtDlpChecking">
        <source>looking for it…</source>
        <translation>wird gesucht …</translation>
    </message>
    <message id="Settings.YtDlpMissing">
        <source>not found: Update now below gets it</source>
        <translation>nicht gefunden: „Jetzt aktualisieren“ unten holt es</translation>
    </message>
    <message id="Settings.ChooseYtDlp">
        <source>Choose yt-dlp…</source>
        <translation>yt-dlp wählen …</translation>
    </message>
    <message id="Settings.YtDlpOnPath">
        <source>Use the newest found</source>
        <translation>Das neueste gefundene nehmen</translation>
    </message>
    <message id="Settings.YtDlpProgram">
        <source>Program: %1</source>
        <translation>Programm: %1</translation>
    </message>
    <message id="Search.UseYtDlp">
        <source>Search with yt-dlp instead</source>
        <translation>Stattdessen mit yt-dlp suchen</translation>
    </message>
    <message id="Search.ToolsMissing">
        <source>Today's video service is read through yt-dlp, which needs Deno, a JavaScript runtime; neither is here. Melodrift can fetch both, check their signatures and keep them current.</source>
        <translation>Der Videodienst lässt sich heute mit yt-dlp lesen, das Deno braucht, eine JavaScript-Laufzeit; beides fehlt hier. Melodrift kann beides holen, die Signaturen prüfen und aktuell halten.</translation>
    </message>
    <message id="Search.GetTools">
        <source>Get yt-dlp and Deno</source>
        <translation>yt-dlp und Deno holen</translation>
    </message>
    <message id="Search.GetToolsSized">
        <source>Get yt-dlp and Deno (%1)</source>
        <translation>yt-dlp und Deno holen (%1)</translation>
    </message>
    <message id="Search.UpdateYtDlp">
        <source>Update yt-dlp</source>
        <translation>yt-dlp aktualisieren</translation>
    </message>
    <message id="Search.ToolsProgress">
        <source>Getting %1… %2</source>
        <translation>Hole %1 … %2</translation>
    </message>
    <message id="Search.ToolsStarting">
        <source>Getting yt-dlp and Deno…</source>
        <translation>Hole yt-dlp und Deno …</translation>
    </message>
    <message id="Search.ToolsFailed">
        <source>Not updated: %1</source>
        <translation>Nicht aktualisiert: %1</translation>
    </message>
    <message id="Tools.Of">
        <source>%1 of %2</source>
        <translation>%1 von %2</translation>
    </message>
    <message id="Settings.EngineAutomatic">
        <source>Automatically: yt-dlp for the video service when it is there, else Melodrift's own reader</source>
        <translation>Automatisch: yt-dlp für den Videodienst, wenn es da ist, sonst Melodrifts eigenem Leser</translation>
    </message>
    <message id="Settings.ToolsQuestion">
        <source>yt-dlp and its JavaScript runtime:</source>
        <translation>yt-dlp und seine JavaScript-Laufzeit:</translation>
    </message>
    <message id="Settings.ToolLine">
        <source>%1 %2, %3, %4 days old</source>
        <translation>%1 %2, %3, %4 Tage alt</translation>
    </message>
    <message id="Settings.ToolNone">
        <source>%1: none</source>
        <translation>%1: keines</translation>
    </message>
    <message id="Settings.ToolOld">
        <source>%1 — older than %2 days: Update now gets the current one</source>
        <translation>%1 — älter als %2 Tage: „Jetzt aktualisieren“ holt das aktuelle</translation>
    </message>
    <message id="Settings.OriginOwn">
        <source>Melodrift's own</source>
        <translation>Melodrifts eigenes</translation>
    </message>
    <message id="Settings.OriginPath">
        <source>from PATH</source>
        <translation>aus PATH</translation>
    </message>
    <message id="Settings.OriginChosen">
        <source>chosen by you</source>
        <translation>von Ihnen gewählt</translation>
    </message>
    <message id="Settings.UpdateNow">
        <source>Update now</source>
        <translation>Jetzt aktualisieren</translation>
    </message>
    <message id="Settings.Updating">
        <source>Updating… %1</source>
        <translation>Wird aktualisiert … %1</translation>
    </message>
    <message id="Settings.UpdateDone">
        <source>Up to date: %1</source>
        <translation>Aktuell: %1</translation>
    </message>
    <message id="Settings.UpdateFailed">
        <source>Not updated: %1</source>
        <translation>Nicht aktualisiert: %1</translation>
    </message>
    <message id="Settings.KeepCurrent">
        <source>Keep yt-dlp up to date (Melodrift fetches it and Deno, at most once a day)</source>
        <translation>yt-dlp aktuell halten (Melodrift holt es und Deno, höchstens einmal am Tag)</translation>
    </message>
    <message id="Settings.SignIn">
        <source>Use the browser's sign-in:</source>
        <translation>Die Anmeldung des Browsers nutzen:</translation>
    </message>
    <message id="Settings.SignInNone">
        <source>None</source>
        <translation>Keine</translation>
    </message>
    <message id="DownloadItem.Retrying">
        <source>Retrying (%1 of %2) …</source>
        <translation>Neuer Versuch (%1 von %2) …</translation>
    </message>
    <message id="Downloads.Pause">
        <source>Pause</source>
        <translation>Anhalten</translation>
    </message>
    <message id="Downloads.Resume">
        <source>Resume</source>
        <translation>Fortsetzen</translation>
    </message>
    <message id="Downloads.Interrupted">
        <source>Interrupted</source>
        <translation>Unterbrochen</translation>
    </message>
    <message id="DownloadItem.Paused">
        <source>Paused</source>
        <translation>Angehalten</translation>
    </message>
    <message id="Settings.Connections">
        <source>Connections per download:</source>
        <translation>Verbindungen je Download:</translation>
    </message>
    <message id="Settings.VideoQuality">
        <source>Video quality:</source>
        <translation>Videoqualität:</translation>
    </message>
    <message id="Settings.QualityBest">
        <source>Best</source>
        <translation>Bestmöglich</translation>
    </message>
    <message id="Settings.QualityUpTo">
        <source>Up to %1p</source>
        <translation>Bis %1p</translation>
    </message>
    <message id="Settings.Sound">
        <source>Save sound as:</source>
        <translation>Ton speichern als:</translation>
    </message>
    <message id="Settings.SoundMp3">
        <source>MP3 320 kbit/s</source>
        <translation>MP3 320 kbit/s</translation>
    </message>
    <message id="Settings.SoundOriginal">
        <source>As it came (no re-encoding)</source>
        <translation>Wie er kam (ohne Umwandlung)</translation>
    </message>
    <message id="Settings.TagFiles">
        <source>Put title, channel and cover into saved files</source>
        <translation>Titel, Kanal und Titelbild in gespeicherte Dateien schreiben</translation>
    </message>
    <message id="Settings.Subtitles">
        <source>Subtitles:</source>
        <translation>Untertitel:</translation>
    </message>
    <message id="Settings.SubtitlesNone">
        <source>None</source>
        <translation>Keine</translation>
    </message>
    <message id="Settings.SubtitlesSystem">
        <source>In the system's language</source>
        <translation>In der Sprache des Systems</translation>
    </message>
    <message id="Settings.AutomaticSubtitles">
        <source>Also the service's automatic subtitles</source>
        <translation>Auch die automatischen Untertitel des Dienstes</translation>
    </message>
    <message id="Preview.Qualities">
        <source>Video quality</source>
        <translation>Videoqualität</translation>
    </message>
    <message id="Preview.QualityWithSound">
        <source>with sound</source>
        <translation>mit Ton</translation>
    </message>
    <message id="Preview.QualityJoined">
        <source>joined</source>
        <translation>zusammengefügt</translation>
    </message>
</context>
</TS>
