<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en">
<context>
    <name></name>
    <message id="quality.small">
        <source>Small</source>
        <translation>Small</translation>
    </message>
    <message id="quality.medium">
        <source>Medium</source>
        <translation>Medium</translation>
    </message>
    <message id="quality.large">
        <source>Large</source>
        <translation>Large</translation>
    </message>
    <message id="DownloadItem.Waiting">
        <source>Waiting</source>
        <translation>Waiting</translation>
    </message>
    <message id="DownloadItem.Downloading">
        <source>Downloading</source>
        <translation>Downloading</translation>
    </message>
    <message id="DownloadItem.Converting">
        <source>Converting</source>
        <translation>Converting</translation>
    </message>
    <message id="DownloadItem.Copying">
        <source>Copying</source>
        <translation>Copying</translation>
    </message>
    <message id="DownloadItem.Done">
        <source>Done</source>
        <translation>Done</translation>
    </message>
    <message id="DownloadItem.Canceled">
        <source>Canceled</source>
        <translation>Canceled</translation>
    </message>
    <message id="DownloadItem.Failed">
        <source>Failed</source>
        <translation>Failed</translation>
    </message>
    <message id="MainMenu.Application">
        <source>Melodrift</source>
        <translation>Melodrift</translation>
    </message>
    <message id="MainMenu.Settings">
        <source>Settings…</source>
        <translation>Settings…</translation>
    </message>
    <message id="MainMenu.Quit">
        <source>Quit</source>
        <translation>Quit</translation>
    </message>
    <message id="MainMenu.MenuTitle">
        <source>Library</source>
        <translation>Library</translation>
    </message>
    <message id="MainMenu.MenuSearch">
        <source>Search</source>
        <translation>Search</translation>
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
        <translation>Open Downloads folder</translation>
    </message>
    <message id="Downloads.Empty">
        <source>Nothing downloaded yet. Videos and sound tracks you save appear here.</source>
        <translation>Nothing downloaded yet. Videos and sound tracks you save appear here.</translation>
    </message>
    <message id="Downloads.Cancel">
        <source>Cancel</source>
        <translation>Cancel</translation>
    </message>
    <message id="Downloads.Play">
        <source>Play</source>
        <translation>Play</translation>
    </message>
    <message id="Downloads.Progress">
        <source>Progress</source>
        <translation>Progress</translation>
    </message>
    <message id="Downloads.BytesOfTotal">
        <source>%1 of %2</source>
        <translation>%1 of %2</translation>
    </message>
    <message id="Downloads.Speed">
        <source>%1/s</source>
        <translation>%1/s</translation>
    </message>
    <message id="Downloads.TimeLeft">
        <source>%1 left</source>
        <translation>%1 left</translation>
    </message>
    <message id="Downloads.ShowInFolder">
        <source>Show in folder</source>
        <translation>Show in folder</translation>
    </message>
    <message id="Downloads.Retry">
        <source>Retry</source>
        <translation>Retry</translation>
    </message>
    <message id="Downloads.Remove">
        <source>Remove from list</source>
        <translation>Remove from list</translation>
    </message>
    <message id="Downloads.ClearFinished">
        <source>Clear finished</source>
        <translation>Clear finished</translation>
    </message>
    <message id="Downloads.FileGone">
        <source>File moved or deleted</source>
        <translation>File moved or deleted</translation>
    </message>
    <message id="Downloads.NotFinished">
        <source>Not finished</source>
        <translation>Not finished</translation>
    </message>
    <message id="Settings.FolderQuestion">
        <source>Save downloads in:</source>
        <translation>Save downloads in:</translation>
    </message>
    <message id="Settings.FolderChange">
        <source>Change…</source>
        <translation>Change…</translation>
    </message>
    <message id="Settings.FolderChooser">
        <source>Choose the Downloads folder</source>
        <translation>Choose the Downloads folder</translation>
    </message>
    <message id="Settings.FolderRefused">
        <source>Melodrift cannot save into %1: %2</source>
        <translation>Melodrift cannot save into %1: %2</translation>
    </message>
    <message id="Downloads.FolderRefused">
        <source>Melodrift cannot save into %1: %2. Choose another folder in the settings.</source>
        <translation>Melodrift cannot save into %1: %2. Choose another folder in the settings.</translation>
    </message>
    <message id="Settings.Title">
        <source>Settings</source>
        <translation>Settings</translation>
    </message>
    <message id="Settings.Question">
        <source>When a video is saved:</source>
        <translation>When a video is saved:</translation>
    </message>
    <message id="Settings.ConvertToH264">
        <source>Convert it to H.264 MP4, which plays everywhere</source>
        <translation>Convert it to H.264 MP4, which plays everywhere</translation>
    </message>
    <message id="Settings.NoConversion">
        <source>Keep it as it was downloaded</source>
        <translation>Keep it as it was downloaded</translation>
    </message>
    <message id="Search.Field">
        <source>Search</source>
        <translation>Search</translation>
    </message>
    <message id="Search.Placeholder">
        <source>Search for videos or paste a video address</source>
        <translation>Search for videos or paste a video address</translation>
    </message>
    <message id="Preview.BrowserError">
        <source>The preview cannot play this format. You can still download it.</source>
        <translation>The preview cannot play this format. You can still download it.</translation>
    </message>
    <message id="Preview.WatchOnYouTube">
        <source>Watch on YouTube</source>
        <translation>Watch on YouTube</translation>
    </message>
    <message id="Preview.DownloadVideo">
        <source>Download video</source>
        <translation>Download video</translation>
    </message>
    <message id="Preview.DownloadAudio">
        <source>Download audio</source>
        <translation>Download audio</translation>
    </message>
    <message id="Preview.Streams">
        <source>Streams</source>
        <translation>Streams</translation>
    </message>
    <message id="Preview.Loading">
        <source>Finding the streams</source>
        <translation>Finding the streams</translation>
    </message>
    <message id="Preview.Player">
        <source>Player</source>
        <translation>Player</translation>
    </message>
    <message id="Preview.EngineMissing">
        <source>The preview is not available: the web engine could not be loaded. Downloads still work.</source>
        <translation>The preview is not available: the web engine could not be loaded. Downloads still work.</translation>
    </message>
    <message id="Search.Clear">
        <source>Clear</source>
        <translation>Clear</translation>
    </message>
    <message id="Search.Preview">
        <source>Preview</source>
        <translation>Preview</translation>
    </message>
    <message id="Search.DownloadVideo">
        <source>Download video</source>
        <translation>Download video</translation>
    </message>
    <message id="Search.DownloadAudio">
        <source>Download audio</source>
        <translation>Download audio</translation>
    </message>
    <message id="Search.FindingStreams">
        <source>Finding the streams</source>
        <translation>Finding the streams</translation>
    </message>
    <message id="Search.Searching">
        <source>Searching</source>
        <translation>Searching</translation>
    </message>
    <message id="Search.Progress">
        <source>Search progress</source>
        <translation>Search progress</translation>
    </message>
    <message id="Search.Results">
        <source>Results</source>
        <translation>Results</translation>
    </message>
    <message id="Search.Failed">
        <source>The search failed: %1</source>
        <translation>The search failed: %1</translation>
    </message>
    <message id="Search.NoVideos">
        <source>No videos found</source>
        <translation>No videos found</translation>
    </message>
    <message id="Search.NoStream">
        <source>No stream of this video could be found.</source>
        <translation>No stream of this video could be found.</translation>
    </message>
    <message id="Notification.Done">
        <source>Saved in the Downloads folder</source>
        <translation>Saved in the Downloads folder</translation>
    </message>
    <message id="Notification.Failed">
        <source>Failed: %1</source>
        <translation>Failed: %1</translation>
    </message>
    <message id="MainMenu.View">
        <source>&amp;View</source>
        <translation>&amp;View</translation>
    </message>
    <message id="MainMenu.ShowSearch">
        <source>Search</source>
        <translation>Search</translation>
    </message>
    <message id="MainMenu.ShowDownloads">
        <source>Downloads</source>
        <translation>Downloads</translation>
    </message>
    <message id="MainMenu.Find">
        <source>Find…</source>
        <translation>Find…</translation>
    </message>
    <message id="Settings.EngineQuestion">
        <source>Find videos with:</source>
        <translation>Find videos with:</translation>
    </message>
    <message id="Settings.EngineClassic">
        <source>Melodrift's own reader</source>
        <translation>Melodrift's own reader</translation>
    </message>
    <message id="Settings.EngineYtDlp">
        <source>yt-dlp (%1)</source>
        <translation>yt-dlp (%1)</translation>
    </message>
    <message id="Settings.YtDlpChecking">
        <source>looking for it…</source>
        <translation>looking for it…</translation>
    </message>
    <message id="Settings.YtDlpMissing">
        <source>not found: Update now below gets it</source>
        <translation>not found: Update now below gets it</translation>
    </message>
    <message id="Settings.ChooseYtDlp">
        <source>Choose yt-dlp…</source>
        <translation>Choose yt-dlp…</translation>
    </message>
    <message id="Settings.YtDlpOnPath">
        <source>Use the newest found</source>
        <translation>Use the newest found</translation>
    </message>
    <message id="Settings.YtDlpProgram">
        <source>Program: %1</source>
        <translation>Program: %1</translation>
    </message>
    <message id="Search.UseYtDlp">
        <source>Search with yt-dlp instead</source>
        <translation>Search with yt-dlp instead</translation>
    </message>
    <message id="Search.ToolsMissing">
        <source>Today's video service is read through yt-dlp, which needs Deno, a JavaScript runtime; neither is here. Melodrift can fetch both, check their signatures and keep them current.</source>
        <translation>Today's video service is read through yt-dlp, which needs Deno, a JavaScript runtime; neither is here. Melodrift can fetch both, check their signatures and keep them current.</translation>
    </message>
    <message id="Search.GetTools">
        <source>Get yt-dlp and Deno</source>
        <translation>Get yt-dlp and Deno</translation>
    </message>
    <message id="Search.GetToolsSized">
        <source>Get yt-dlp and Deno (%1)</source>
        <translation>Get yt-dlp and Deno (%1)</translation>
    </message>
    <message id="Search.UpdateYtDlp">
        <source>Update yt-dlp</source>
        <translation>Update yt-dlp</translation>
    </message>
    <message id="Search.ToolsProgress">
        <source>Getting %1… %2</source>
        <translation>Getting %1… %2</translation>
    </message>
    <message id="Search.ToolsStarting">
        <source>Getting yt-dlp and Deno…</source>
        <translation>Getting yt-dlp and Deno…</translation>
    </message>
    <message id="Search.ToolsFailed">
        <source>Not updated: %1</source>
        <translation>Not updated: %1</translation>
    </message>
    <message id="Tools.Of">
        <source>%1 of %2</source>
        <translation>%1 of %2</translation>
    </message>
    <message id="Settings.EngineAutomatic">
        <source>Automatically: yt-dlp for the video service when it is there, else Melodrift's own reader</source>
        <translation>Automatically: yt-dlp for the video service when it is there, else Melodrift's own reader</translation>
    </message>
    <message id="Settings.ToolsQuestion">
        <source>yt-dlp and its JavaScript runtime:</source>
        <translation>yt-dlp and its JavaScript runtime:</translation>
    </message>
    <message id="Settings.ToolLine">
        <source>%1 %2, %3, %4 days old</source>
        <translation>%1 %2, %3, %4 days old</translation>
    </message>
    <message id="Settings.ToolNone">
        <source>%1: none</source>
        <translation>%1: none</translation>
    </message>
    <message id="Settings.ToolOld">
        <source>%1 — older than %2 days: Update now gets the current one</source>
        <translation>%1 — older than %2 days: Update now gets the current one</translation>
    </message>
    <message id="Settings.OriginOwn">
        <source>Melodrift's own</source>
        <translation>Melodrift's own</translation>
    </message>
    <message id="Settings.OriginPath">
        <source>from PATH</source>
        <translation>from PATH</translation>
    </message>
    <message id="Settings.OriginChosen">
        <source>chosen by you</source>
        <translation>chosen by you</translation>
    </message>
    <message id="Settings.UpdateNow">
        <source>Update now</source>
        <translation>Update now</translation>
    </message>
    <message id="Settings.Updating">
        <source>Updating… %1</source>
        <translation>Updating… %1</translation>
    </message>
    <message id="Settings.UpdateDone">
        <source>Up to date: %1</source>
        <translation>Up to date: %1</translation>
    </message>
    <message id="Settings.UpdateFailed">
        <source>Not updated: %1</source>
        <translation>Not updated: %1</translation>
    </message>
    <message id="Settings.KeepCurrent">
        <source>Keep yt-dlp up to date (Melodrift fetches it and Deno, at most once a day)</source>
        <translation>Keep yt-dlp up to date (Melodrift fetches it and Deno, at most once a day)</translation>
    </message>
    <message id="Settings.SignIn">
        <source>Use the browser's sign-in:</source>
        <translation>Use the browser's sign-in:</translation>
    </message>
    <message id="Settings.SignInNone">
        <source>None</source>
        <translation>None</translation>
    </message>
    <message id="DownloadItem.Retrying">
        <source>Retrying (%1 of %2) …</source>
        <translation>Retrying (%1 of %2) …</translation>
    </message>
    <message id="Downloads.Pause">
        <source>Pause</source>
        <translation>Pause</translation>
    </message>
    <message id="Downloads.Resume">
        <source>Resume</source>
        <translation>Resume</translation>
    </message>
    <message id="Downloads.Interrupted">
        <source>Interrupted</source>
        <translation>Interrupted</translation>
    </message>
    <message id="DownloadItem.Paused">
        <source>Paused</source>
        <translation>Paused</translation>
    </message>
    <message id="Settings.Connections">
        <source>Connections per download:</source>
        <translation>Connections per download:</translation>
    </message>
    <message id="Settings.VideoQuality">
        <source>Video quality:</source>
        <translation>Video quality:</translation>
    </message>
    <message id="Settings.QualityBest">
        <source>Best</source>
        <translation>Best</translation>
    </message>
    <message id="Settings.QualityUpTo">
        <source>Up to %1p</source>
        <translation>Up to %1p</translation>
    </message>
    <message id="Settings.Sound">
        <source>Save sound as:</source>
        <translation>Save sound as:</translation>
    </message>
    <message id="Settings.SoundMp3">
        <source>MP3 320 kbit/s</source>
        <translation>MP3 320 kbit/s</translation>
    </message>
    <message id="Settings.SoundOriginal">
        <source>As it came (no re-encoding)</source>
        <translation>As it came (no re-encoding)</translation>
    </message>
    <message id="Settings.TagFiles">
        <source>Put title, channel and cover into saved files</source>
        <translation>Put title, channel and cover into saved files</translation>
    </message>
    <message id="Settings.Subtitles">
        <source>Subtitles:</source>
        <translation>Subtitles:</translation>
    </message>
    <message id="Settings.SubtitlesNone">
        <source>None</source>
        <translation>None</translation>
    </message>
    <message id="Settings.SubtitlesSystem">
        <source>In the system's language</source>
        <translation>In the system's language</translation>
    </message>
    <message id="Settings.AutomaticSubtitles">
        <source>Also the service's automatic subtitles</source>
        <translation>Also the service's automatic subtitles</translation>
    </message>
    <message id="Preview.Qualities">
        <source>Video quality</source>
        <translation>Video quality</translation>
    </message>
    <message id="Preview.QualityWithSound">
        <source>with sound</source>
        <translation>with sound</translation>
    </message>
    <message id="Preview.QualityJoined">
        <source>joined</source>
        <translation>joined</translation>
    </message>
</context>
</TS>
