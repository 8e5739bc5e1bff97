<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de" sourcelanguage="en">
<context><name>Account</name>
<message><source>Account updated successfully.</source><translation>Das Konto wurde geändert.</translation></message>
<message><source>Password updated successfully.</source><translation>Das Passwort wurde geändert.</translation></message>
<message><source>New passwords do not match.</source><translation>Die neuen Passwörter stimmen nicht überein.</translation></message>
<message><source>Current password is required.</source><translation>Das bisherige Passwort fehlt.</translation></message>
<message><source>New password is required.</source><translation>Das neue Passwort fehlt.</translation></message>
<message><source>Please confirm your new password.</source><translation>Bitte bestätigen Sie das neue Passwort.</translation></message>
<message><source>Your session has expired. Please sign in again.</source><translation>Ihre Sitzung ist abgelaufen. Bitte melden Sie sich wieder an.</translation></message>
<message><source>Current password is incorrect.</source><translation>Das bisherige Passwort ist falsch.</translation></message>
<message><source>Failed to change password. Please try again.</source><translation>Das Passwort konnte nicht geändert werden. Bitte versuchen Sie es noch einmal.</translation></message>
<message><source>The Terms &amp; Conditions were updated. Please accept the updated version to continue.</source><translation>Die Nutzungsbedingungen haben sich geändert. Bitte nehmen Sie die neue Fassung an, um fortzufahren.</translation></message>
<message><source>Unable to check Quorin Cloud Terms &amp; Conditions.</source><translation>Die Nutzungsbedingungen von Quorin Cloud konnten nicht geprüft werden.</translation></message>
<message><source>Failed to accept Quorin Cloud Terms &amp; Conditions.</source><translation>Die Nutzungsbedingungen von Quorin Cloud konnten nicht angenommen werden.</translation></message>
<message><source>Failed to decline Quorin Cloud Terms &amp; Conditions.</source><translation>Die Nutzungsbedingungen von Quorin Cloud konnten nicht abgelehnt werden.</translation></message>
<message><source>Could not determine the Terms &amp; Conditions version. Please reload and try again.</source><translation>Die Fassung der Nutzungsbedingungen ist unbekannt. Bitte laden Sie sie neu und versuchen Sie es noch einmal.</translation></message>
<message><source>The archive refuses the sign-in. It is kept and tried again. If the password, or whatever else it is made of, has changed, sign in again.</source><translation>Das Archiv weist die Anmeldung zurück. Sie wird aufbewahrt und noch einmal versucht. Haben sich das Passwort oder anderes daran geändert, melden Sie sich neu an.</translation></message>
<message><source>%1 It is kept and tried again.</source><translation>%1 Sie wird aufbewahrt und noch einmal versucht.</translation></message>
<message><source>The archive refuses queries (status %1), so address, user name and password could not be checked. The first upload will show whether they are right.</source><translation>Das Archiv verweigert Abfragen (Status %1); Adresse, Benutzername und Passwort konnten daher nicht geprüft werden. Die erste Übertragung zeigt, ob sie stimmen.</translation></message>
<message><source>The keyring has not taken the session, which lasts for this run of the program until it does.</source><translation>Der Schlüsselbund hat die Sitzung nicht übernommen; bis dahin gilt sie nur, solange das Programm läuft.</translation></message>
<message><source>Session expired. Please sign in again.</source><translation>Die Sitzung ist abgelaufen. Bitte melden Sie sich wieder an.</translation></message>
<message><source>Unable to verify account session.</source><translation>Die Sitzung konnte nicht geprüft werden.</translation></message>
<message><source>Unable to load account details.</source><translation>Die Angaben zum Konto konnten nicht geladen werden.</translation></message>
<message><source>Sign in failed. Please check your credentials and try again.</source><translation>Die Anmeldung ist fehlgeschlagen. Bitte prüfen Sie Ihre Angaben und versuchen Sie es noch einmal.</translation></message>
<message><source>Sign out failed. Local session was cleared.</source><translation>Die Abmeldung bei Quorin Cloud ist fehlgeschlagen. Hier ist die Sitzung beendet.</translation></message>
<message><source>Checking Quorin Cloud…</source><translation>Quorin Cloud wird geprüft …</translation></message>
<message><source>Connected to Quorin Cloud</source><translation>Mit Quorin Cloud verbunden</translation></message>
<message><source>Quorin Cloud Unreachable</source><translation>Quorin Cloud nicht erreichbar</translation></message>
<message><source>d MMM, h:mm AP</source><extracomment>A date and a time as QDateTime writes them; other languages may count 24 hours.</extracomment><translation>d. MMM, HH:mm</translation></message>
<message><source>Last checked %1</source><translation>Zuletzt geprüft: %1</translation></message>
<message><source>Checking sign-in status…</source><translation>Anmeldung wird geprüft …</translation></message>
<message><source>Sign in required</source><translation>Anmeldung nötig</translation></message>
<message><source>Session ended. Sign in again.</source><translation>Sitzung beendet. Melden Sie sich neu an.</translation></message>
<message><source>User name or password refused</source><translation>Benutzername oder Passwort abgelehnt</translation></message>
<message><source>Signed in as %1</source><translation>Angemeldet als %1</translation></message>
<message><source>Signed in with an active session.</source><translation>Mit einer gültigen Sitzung angemeldet.</translation></message>
<message><source>Sign-in unavailable</source><translation>Anmeldung nicht verfügbar</translation></message>
</context>
<context><name>AlertWords</name>
<message><source>Critical Update Available</source><translation>Wichtige Aktualisierung verfügbar</translation></message>
<message><source>A critical Quorin Gateway update is available. Installing the update now is strongly recommended.</source><translation>Für Quorin Gateway gibt es eine wichtige Aktualisierung. Es wird dringend empfohlen, sie jetzt zu installieren.</translation></message>
<message><source>Install Update Now</source><translation>Jetzt installieren</translation></message>
<message><source>Later</source><translation>Später</translation></message>
<message><source>Unable to Check for Updates</source><translation>Keine Suche nach Aktualisierungen möglich</translation></message>
<message><source>Quorin Gateway was unable to check for updates for over 30 days. Please connect to the internet so updates can be verified.</source><translation>Quorin Gateway konnte seit über 30 Tagen nicht nach Aktualisierungen suchen. Bitte stellen Sie eine Verbindung zum Internet her, damit das möglich ist.</translation></message>
<message><source>OK</source><translation>OK</translation></message>
<message><source>Move Quorin Gateway to Applications?</source><translation>Quorin Gateway zu den Programmen verschieben?</translation></message>
<message><source>Quorin Gateway is currently running outside the Applications folder. Move it now so it can update and run reliably.</source><translation>Quorin Gateway läuft zurzeit außerhalb des Ordners „Applications“. Verschieben Sie es jetzt, damit es sich aktualisieren und zuverlässig laufen kann.</translation></message>
<message><source>Move</source><translation>Verschieben</translation></message>
<message><source>Not Now</source><translation>Nicht jetzt</translation></message>
<message><source>Couldn’t Move Quorin Gateway</source><translation>Quorin Gateway konnte nicht verschoben werden</translation></message>
<message><source>Please move Quorin Gateway to Applications manually.&#10;&#10;Error: %1</source><translation>Bitte verschieben Sie Quorin Gateway von Hand in den Ordner „Applications“.&#10;&#10;Fehler: %1</translation></message>
</context>
<context><name>Archive</name>
<message><source>There is no ordinary file at %1.</source><translation>Unter %1 liegt keine gewöhnliche Datei.</translation></message>
<message><source>Another sign-in or sign-out is under way.</source><translation>Eine andere An- oder Abmeldung läuft gerade.</translation></message>
<message><source>Sign in failed.</source><translation>Die Anmeldung ist fehlgeschlagen.</translation></message>
<message><source>The sign-in was given up.</source><translation>Die Anmeldung wurde aufgegeben.</translation></message>
<message><source>Name the file of the client certificate.</source><translation>Nennen Sie die Datei des Client-Zertifikats.</translation></message>
<message><source>The file %1 can't be read: %2.</source><translation>Die Datei %1 ist nicht lesbar: %2.</translation></message>
<message><source>A header needs a name of letters, digits and signs, a colon, and a value of plain letters, digits and signs.</source><translation>Ein Header braucht einen Namen aus Buchstaben, Ziffern und Zeichen, einen Doppelpunkt und einen Wert aus einfachen Buchstaben, Ziffern und Zeichen.</translation></message>
<message><source>The header %1 is set by the gateway itself.</source><translation>Den Header %1 setzt das Gateway selbst.</translation></message>
<message><source>An archive can be given 16 headers at most, and 4 KiB of them.</source><translation>Ein Archiv kann höchstens 16 Header bekommen, zusammen 4 KiB.</translation></message>
<message><source>A root of an archive's services needs an https address without a user name, a query or a fragment; plain http is for this computer alone.</source><translation>Die Wurzel eines Dienstes des Archivs braucht eine https-Adresse ohne Benutzername, Abfrage und Fragment; einfaches http gilt nur für diesen Computer.</translation></message>
<message><source>The archive needs a user name without a colon, and a password, both without control characters and of less than a thousand letters together.</source><translation>Das Archiv braucht einen Benutzernamen ohne Doppelpunkt und ein Passwort, beide ohne Steuerzeichen und zusammen unter tausend Zeichen.</translation></message>
<message><source>OAuth 2.0 needs the web address of an issuer or of a token endpoint.</source><translation>OAuth 2.0 braucht die Webadresse eines Ausstellers oder eines Token-Endpunkts.</translation></message>
<message><source>OAuth 2.0 needs a client id and a secret.</source><translation>OAuth 2.0 braucht eine Client-ID und ein Geheimnis.</translation></message>
<message><source>OAuth 2.0 needs a client id.</source><translation>OAuth 2.0 braucht eine Client-ID.</translation></message>
<message><source>A sign-in by code needs the web address where codes are given out, too.</source><translation>Eine Anmeldung mit Code braucht auch die Webadresse, die Codes ausgibt.</translation></message>
<message><source>A client that its certificate names needs one: --certificate FILE --key FILE.</source><translation>Ein Client, den sein Zertifikat ausweist, braucht eines: --certificate FILE --key FILE.</translation></message>
<message><source>A signed statement needs a private key in PEM form without a passphrase, RSA of 2048 bits or more, or of the curve P-256.</source><translation>Eine signierte Erklärung braucht einen privaten Schlüssel in PEM-Form ohne Passphrase, RSA ab 2048 Bit oder von der Kurve P-256.</translation></message>
<message><source>A token is one word of plain letters, digits and signs.</source><translation>Ein Token ist ein Wort aus einfachen Buchstaben, Ziffern und Zeichen.</translation></message>
<message><source>The file of the token needs its whole path.</source><translation>Die Datei des Tokens braucht ihren ganzen Pfad.</translation></message>
<message><source>The kept sign-in can't be read by this version of the gateway; sign in again, or run the version that kept it.</source><translation>Diese Version des Gateways kann die aufbewahrte Anmeldung nicht lesen; melden Sie sich neu an, oder starten Sie die Version, die sie aufbewahrt hat.</translation></message>
<message><source>The archive refused it without a word.</source><translation>Das Archiv hat es ohne Begründung verweigert.</translation></message>
<message><source>The server at %1 answers.</source><translation>Der Server %1 antwortet.</translation></message>
<message><source>The server at %1 shows the certificate of %2 by %3, good until %4.</source><translation>Der Server %1 zeigt das Zertifikat von %2, ausgestellt von %3, gültig bis %4.</translation></message>
<message><source> Have it renewed in the next days: uploads wait once it has ended.</source><translation> Lassen Sie es in den nächsten Tagen erneuern: Danach warten die Übertragungen.</translation></message>
<message><source>A web proxy looks up %1.</source><translation>Ein Web-Proxy schlägt %1 nach.</translation></message>
<message><source>The name %1 isn't known to this network. Check the archive's address, and this computer's name service.</source><translation>Dieses Netz kennt den Namen %1 nicht. Prüfen Sie die Adresse des Archivs und den Namensdienst dieses Computers.</translation></message>
<message><source>%1 is at %2.</source><translation>%1 liegt bei %2.</translation></message>
<message><source>Nobody is signed in. Sign in first.</source><translation>Niemand ist angemeldet. Melden Sie sich zuerst an.</translation></message>
<message><source>The archive takes the sign-in as %1.</source><translation>Das Archiv nimmt die Anmeldung als %1 an.</translation></message>
<message><source>The archive answers queries.</source><translation>Das Archiv beantwortet Abfragen.</translation></message>
<message><source>The archive answers no queries (status %1). Uploads are proven by its answers alone, and the windows can't show what it holds; ask whoever runs it to permit queries.</source><translation>Das Archiv beantwortet keine Abfragen (Status %1). Übertragungen belegt allein seine Antwort, und die Fenster können nicht zeigen, was es hat; bitten Sie den Betreiber, Abfragen zu erlauben.</translation></message>
<message><source>The archive refuses the sign-in as %1 (status %2). Sign in with what it knows.</source><translation>Das Archiv weist die Anmeldung als %1 zurück (Status %2). Melden Sie sich mit dem an, was es kennt.</translation></message>
<message><source>This computer can't write a temporary file.</source><translation>Dieser Computer kann keine temporäre Datei schreiben.</translation></message>
<message><source>The archive says that it has stored the sample.</source><translation>Das Archiv sagt, es habe das Muster gespeichert.</translation></message>
<message><source>The archive doesn't name the sample as stored (reason %1). Ask whoever runs it for the right to store, and for secondary captures to be taken.</source><translation>Das Archiv nennt das Muster nicht als gespeichert (Grund %1). Bitten Sie den Betreiber um das Recht zu speichern, und darum, Secondary Captures anzunehmen.</translation></message>
<message><source> The archive may hold the sample all the same, under the patient GATEWAY-TEST, as study %1.</source><translation> Das Archiv kann das Muster trotzdem haben, unter dem Patienten GATEWAY-TEST, als Studie %1.</translation></message>
<message><source>A query finds the sample.</source><translation>Eine Abfrage findet das Muster.</translation></message>
<message><source>A query finds the sample only after %1 seconds; the archive stores later than it answers.</source><translation>Eine Abfrage findet das Muster erst nach %1 Sekunden; das Archiv speichert später, als es antwortet.</translation></message>
<message><source> So a sample can't be looked for; uploads are proven by the archive's answers alone.</source><translation> Daher kann ein Muster nicht gesucht werden; Übertragungen belegt allein die Antwort des Archivs.</translation></message>
<message><source>The archive said that it has stored the sample, and no query finds it. Ask whoever runs it where images of new patients go.</source><translation>Das Archiv hat gesagt, es habe das Muster gespeichert, und keine Abfrage findet es. Fragen Sie den Betreiber, wohin Bilder neuer Patienten kommen.</translation></message>
<message><source> So a corrected image, of which the archive may keep another version, can't be compared and stays here as notComparable.</source><translation> Daher kann ein berichtigtes Bild, von dem das Archiv vielleicht eine andere Version hat, nicht verglichen werden und bleibt hier als notComparable.</translation></message>
<message><source>The sample comes back as it was sent.</source><translation>Das Muster kommt zurück, wie es gesendet wurde.</translation></message>
<message><source>The sample comes back changed: the archive rewrites what it is sent. So a second version of an image may not be told from the first, and stays here.</source><translation>Das Muster kommt verändert zurück: Das Archiv schreibt um, was es bekommt. Daher ist eine zweite Version eines Bildes vielleicht nicht von der ersten zu unterscheiden und bleibt hier.</translation></message>
<message><source>The sample is deleted again.</source><translation>Das Muster ist wieder gelöscht.</translation></message>
<message><source> So nothing there can be deleted from here; the sample stays, under the patient GATEWAY-TEST, as study %1.</source><translation> Daher kann von hier aus dort nichts gelöscht werden; das Muster bleibt, unter dem Patienten GATEWAY-TEST, als Studie %1.</translation></message>
<message><source> The sample stays, under the patient GATEWAY-TEST, as study %1.</source><translation> Die Probe bleibt dort, unter dem Patienten GATEWAY-TEST, als Studie %1.</translation></message>
<message><source>The client certificate isn't one in PEM form.</source><translation>Das Client-Zertifikat ist keines in PEM-Form.</translation></message>
<message><source>The key of the client certificate isn't a private key in PEM form without a passphrase.</source><translation>Der Schlüssel des Client-Zertifikats ist kein privater Schlüssel in PEM-Form ohne Passphrase.</translation></message>
<message><source>The key does not belong to the client certificate.</source><translation>Der Schlüssel gehört nicht zum Client-Zertifikat.</translation></message>
<message><source>The client certificate has expired on %1, or the clock of this computer is wrong.</source><translation>Das Client-Zertifikat ist am %1 abgelaufen, oder die Uhr dieses Computers geht falsch.</translation></message>
<message><source>The client certificate is not valid before %1, or the clock of this computer is wrong.</source><translation>Das Client-Zertifikat gilt erst ab %1, oder die Uhr dieses Computers geht falsch.</translation></message>
<message><source>A file of the sign-in can't be read: its disk or network share doesn't answer.</source><translation>Eine Datei der Anmeldung kann nicht gelesen werden: Ihr Datenträger oder ihre Netzwerkfreigabe antwortet nicht.</translation></message>
<message><source>The archive has taken the sample, and stores later than it answers.</source><translation>Das Archiv hat das Probebild angenommen und speichert später, als es antwortet.</translation></message>
<message><source>The archive was asked to delete the sample. Where it comes later it stays, under the patient GATEWAY-TEST, as study %1.</source><translation>Das Archiv wurde gebeten, das Probebild zu löschen. Kommt es später an, bleibt es dort, unter dem Patienten GATEWAY-TEST, als Studie %1.</translation></message>
<message><source>The archive says that it took the sample, and neither its answer nor a query shows that it keeps it. Ask whoever runs it to permit queries for instances.</source><translation>Das Archiv sagt, es habe das Muster angenommen, doch weder seine Antwort noch eine Abfrage zeigt, dass es das Muster behält. Bitten Sie den Betreiber, Abfragen nach Instanzen zu erlauben.</translation></message>
<message><source>No query finds the sample yet. So images count as uploaded only once one does; each waits here for it.</source><translation>Noch findet keine Abfrage das Muster. Bilder gelten also erst als hochgeladen, wenn eine sie findet; jedes wartet hier darauf.</translation></message>
</context>
<context><name>Attention</name>
<message><source>No images can be received</source><translation>Es können keine Bilder empfangen werden</translation></message>
<message><source>The DIMSE listener could not be started. Open the dashboard to see why.</source><translation>Der DIMSE-Listener konnte nicht starten. Die Übersicht zeigt, warum.</translation></message>
<message><source>Sign in to go on uploading</source><translation>Zum Hochladen bitte anmelden</translation></message>
<message><source>Images are still received and kept here. They are sent once you are signed in.</source><translation>Bilder werden weiter empfangen und hier aufbewahrt. Sie werden gesendet, sobald Sie angemeldet sind.</translation></message>
<message><source>Quorin Cloud asks for its terms to be accepted</source><translation>Quorin Cloud bittet, ihre Bedingungen anzunehmen</translation></message>
<message><source>Images are still received and kept here. They are sent once the terms are accepted.</source><translation>Bilder werden weiter empfangen und hier aufbewahrt. Sie werden gesendet, sobald die Bedingungen angenommen sind.</translation></message>
<message><source>The room in Quorin Cloud is used up</source><translation>Der Platz in der Quorin Cloud ist aufgebraucht</translation></message>
<message><source>Images are still received and kept here. They are sent once there is room again.</source><translation>Bilder werden weiter empfangen und hier aufbewahrt. Sie werden gesendet, sobald wieder Platz ist.</translation></message>
<message><source>This computer's disk is nearly full</source><translation>Der Datenträger dieses Rechners ist fast voll</translation></message>
<message><source>Soon no more images can be received. Free some room, or let uploaded images be deleted.</source><translation>Bald können keine Bilder mehr empfangen werden. Schaffen Sie Platz oder lassen Sie hochgeladene Bilder löschen.</translation></message>
</context>
<context><name>BugReport</name>
<message><source>Sending...</source><translation>Wird gesendet …</translation></message>
<message><source>Sending files %1%</source><translation>Dateien werden gesendet: %1 %</translation></message>
</context>
<context><name>CloudChoice</name>
<message><source>The address holds a user name or a password. They have their own fields, later.</source><translation>Die Adresse enthält einen Benutzernamen oder ein Passwort. Dafür gibt es später eigene Felder.</translation></message>
<message><source>Anyone on the way can read plain http. Give an address that begins with https.</source><translation>Einfaches http kann unterwegs jeder mitlesen. Geben Sie eine Adresse an, die mit https beginnt.</translation></message>
<message><source>Give a whole web address, such as https://archive.example/dicom-web.</source><translation>Geben Sie eine ganze Webadresse an, etwa https://archive.example/dicom-web.</translation></message>
<message><source>The setting could not be saved.</source><translation>Die Einstellung konnte nicht gesichert werden.</translation></message>
<message><source>It is saved. Quit Quorin Gateway and open it again: it counts from then on.</source><translation>Es ist gesichert. Beenden Sie Quorin Gateway und öffnen Sie es wieder: Es gilt von da an.</translation></message>
<message><source>Quorin Cloud</source><translation>Quorin Cloud</translation></message>
<message><source>An archive by DICOMweb</source><translation>Ein Archiv über DICOMweb</translation></message>
</context>
<context><name>CloudClient</name>
<message><source>The server at %1 pointed to another address (status %2), which is not followed.</source><translation>Der Server %1 verwies an eine andere Adresse (Status %2); dem wird nicht gefolgt.</translation></message>
<message><source>The server at %1 asks for a sign-in (status %2).</source><translation>Der Server %1 verlangt eine Anmeldung (Status %2).</translation></message>
<message><source>The server at %1 does not allow this (status %2).</source><translation>Der Server %1 erlaubt das nicht (Status %2).</translation></message>
<message><source>The server at %1 does not know what was asked for (status %2).</source><translation>Der Server %1 kennt nicht, was verlangt wurde (Status %2).</translation></message>
<message><source>The server at %1 does not offer this (status %2).</source><translation>Der Server %1 bietet das nicht an (Status %2).</translation></message>
<message><source>A web proxy on the way to %1 asks for a sign-in (status %2).</source><translation>Ein Web-Proxy auf dem Weg zu %1 verlangt eine Anmeldung (Status %2).</translation></message>
<message><source>The server at %1 does not take anything this large (status %2).</source><translation>Der Server %1 nimmt nichts so Großes an (Status %2).</translation></message>
<message><source>The server at %1 has had too many requests (status %2).</source><translation>Der Server %1 hat zu viele Anfragen erhalten (Status %2).</translation></message>
<message><source>The server at %1 has no room left (status %2).</source><translation>Der Server %1 hat keinen Platz mehr (Status %2).</translation></message>
<message><source>The network on the way to %1 asks for a sign-in of its own (status %2).</source><translation>Das Netz auf dem Weg zu %1 verlangt eine eigene Anmeldung (Status %2).</translation></message>
<message><source>The server at %1 has a fault of its own (status %2).</source><translation>Der Server %1 hat selbst eine Störung (Status %2).</translation></message>
<message><source>The server at %1 answered with status %2.</source><translation>Der Server %1 antwortete mit Status %2.</translation></message>
<message><source>The server at %1 did not accept the client certificate of this gateway, or wants one.</source><translation>Der Server %1 nahm das Client-Zertifikat dieses Gateways nicht an oder verlangt eines.</translation></message>
<message><source>A web page came from %1 (status %2) in place of an answer of the cloud service. This network may ask for a sign-in of its own, or the address may be wrong.</source><translation>Von %1 kam eine Webseite (Status %2) statt einer Antwort der Cloud. Vielleicht verlangt dieses Netz eine eigene Anmeldung, oder die Adresse ist falsch.</translation></message>
<message><source>The answer from %1 (status %2) is none of a cloud service.</source><translation>Die Antwort von %1 (Status %2) stammt nicht von einer Cloud.</translation></message>
<message><source>The answer of the cloud service could not be read.</source><translation>Die Antwort der Cloud ließ sich nicht lesen.</translation></message>
<message><source>The file "%1" can't be read.</source><translation>Die Datei „%1“ lässt sich nicht lesen.</translation></message>
<message><source>This archive takes no bug reports.</source><translation>Dieses Archiv nimmt keine Fehlermeldungen an.</translation></message>
<message><source>The file "%1" changed while it was being sent.</source><translation>Die Datei „%1“ änderte sich beim Senden.</translation></message>
<message><source>This archive has no terms to accept.</source><translation>Dieses Archiv hat keine Bedingungen.</translation></message>
<message><source>This archive keeps no accounts.</source><translation>Dieses Archiv führt keine Konten.</translation></message>
<message><source>The cloud service did not store one image.</source><translation>Die Cloud hat ein Bild nicht abgelegt.</translation></message>
<message><source>The cloud service did not store %1 images.</source><translation>Die Cloud hat %1 Bilder nicht abgelegt.</translation></message>
<message><source>The cloud service at %1 refused the connection.</source><translation>Die Cloud unter %1 lehnte die Verbindung ab.</translation></message>
<message><source>The cloud service at %1 can't be reached from this network.</source><translation>Die Cloud unter %1 ist aus diesem Netz nicht erreichbar.</translation></message>
<message><source>The cloud service at %1 did not answer in time.</source><translation>Die Cloud unter %1 antwortete nicht rechtzeitig.</translation></message>
<message><source>The connection to the cloud service at %1 could not be made.</source><translation>Die Verbindung zur Cloud unter %1 kam nicht zustande.</translation></message>
<message><source>The certificate of the cloud service at %1 has expired, or the clock of this computer is wrong.</source><translation>Das Zertifikat der Cloud unter %1 ist abgelaufen, oder die Uhr dieses Computers geht falsch.</translation></message>
<message><source>The certificate of the cloud service at %1 is not valid yet, or the clock of this computer is wrong.</source><translation>Das Zertifikat der Cloud unter %1 gilt noch nicht, oder die Uhr dieses Computers geht falsch.</translation></message>
<message><source>The certificate of the cloud service at %1 could not be verified. Where an authority of your own has signed it, name its PEM file in the setting QuorinAPI.CertificateFile.</source><translation>Das Zertifikat der Cloud unter %1 ließ sich nicht prüfen. Hat es eine eigene Stelle unterschrieben, nennen Sie deren PEM-Datei in der Einstellung QuorinAPI.CertificateFile.</translation></message>
<message><source>The address of the cloud service, %1, could not be found.</source><translation>Die Adresse der Cloud, %1, war nicht zu finden.</translation></message>
<message><source>The address of the web proxy on the way to %1 could not be found; the setting QuorinAPI.Proxy or the variable https_proxy names it.</source><translation>Die Adresse des Web-Proxys auf dem Weg zu %1 war nicht zu finden; die Einstellung QuorinAPI.Proxy oder die Variable https_proxy nennt sie.</translation></message>
<message><source>The web proxy on the way to %1 refused the connection.</source><translation>Der Web-Proxy auf dem Weg zu %1 lehnte die Verbindung ab.</translation></message>
<message><source>The client certificate for the server at %1 can't be used with its key.</source><translation>Das Client-Zertifikat für den Server %1 passt nicht zu seinem Schlüssel.</translation></message>
<message><source>The file of certificates for %1, which the setting QuorinAPI.CertificateFile or QUORIN_CLOUD_CA names, could not be read.</source><translation>Die Zertifikatsdatei für %1, die die Einstellung QuorinAPI.CertificateFile oder QUORIN_CLOUD_CA nennt, ließ sich nicht lesen.</translation></message>
<message><source>A secure connection to the cloud service at %1 could not be made.</source><translation>Eine sichere Verbindung zur Cloud unter %1 kam nicht zustande.</translation></message>
<message><source>The connection to the cloud service at %1 was lost.</source><translation>Die Verbindung zur Cloud unter %1 ging verloren.</translation></message>
<message><source>The call to the cloud service at %1 was ended.</source><translation>Der Aufruf der Cloud unter %1 wurde beendet.</translation></message>
<message><source>What answered at %1 does not speak the language of the web.</source><translation>Was unter %1 antwortete, spricht nicht die Sprache des Web.</translation></message>
<message><source>The call to the cloud service at %1 failed.</source><translation>Der Aufruf der Cloud unter %1 scheiterte.</translation></message>
<message><source>The web proxy on the way to %1 can't be reached; the setting QuorinAPI.Proxy or the variable https_proxy names it.</source><translation>Der Web-Proxy auf dem Weg zu %1 ist nicht erreichbar; die Einstellung QuorinAPI.Proxy oder die Variable https_proxy nennt ihn.</translation></message>
<message><source>The web proxy on the way to %1 asks for a sign-in (status %2).</source><translation>Der Web-Proxy auf dem Weg zu %1 verlangt eine Anmeldung (Status %2).</translation></message>
<message><source>The web proxy on the way to %1 refused the connection (status %2).</source><translation>Der Web-Proxy auf dem Weg zu %1 lehnte die Verbindung ab (Status %2).</translation></message>
<message><source>The file of the archive's token, %1, isn't there, can't be read, or is no ordinary file.</source><translation>Die Datei %1 mit dem Token des Archivs fehlt, lässt sich nicht lesen oder ist keine gewöhnliche Datei.</translation></message>
<message><source>The file %1 holds no token of one word.</source><translation>Die Datei %1 enthält kein Token aus einem Wort.</translation></message>
<message><source>Nothing that takes images is found at %1 (status %2). The path of the archive's address may be wrong.</source><translation>Unter %1 ist nichts zu finden, was Bilder annimmt (Status %2). Vielleicht ist der Pfad in der Adresse des Archivs falsch.</translation></message>
<message><source>The sign-in service at %1 gave no token that renews the sign-in, which would soon end; ask for one by the scope, often with the word offline_access.</source><translation>Der Anmeldedienst %1 gab kein Token, das die Anmeldung erneuert; sie würde bald enden. Verlangen Sie eines über den Scope, oft mit dem Wort offline_access.</translation></message>
<message><source>What the sign-in service at %1 answered is no code that a person could enter.</source><translation>Was der Anmeldedienst %1 antwortete, ist kein Code, den jemand eingeben könnte.</translation></message>
<message><source>The sign-in was refused by whoever entered the code at %1.</source><translation>Wer den Code bei %1 eingab, hat die Anmeldung abgelehnt.</translation></message>
<message><source>The code of %1 is over before somebody has entered it; begin again.</source><translation>Der Code von %1 ist abgelaufen, bevor ihn jemand eingegeben hat; beginnen Sie von vorn.</translation></message>
<message><source>This sign-in is over; sign in again.</source><translation>Diese Anmeldung ist beendet; melden Sie sich neu an.</translation></message>
<message><source>The sign-in service can't be asked safely: %1</source><translation>Der Anmeldedienst lässt sich nicht sicher befragen: %1</translation></message>
<message><source>The sign-in service %1 could not be found by its name.</source><translation>Der Anmeldedienst %1 war unter seinem Namen nicht zu finden.</translation></message>
<message><source>The sign-in service at %1 did not answer in time.</source><translation>Der Anmeldedienst %1 antwortete nicht rechtzeitig.</translation></message>
<message><source>The web proxy on the way to the sign-in service at %1 refused the connection.</source><translation>Der Web-Proxy auf dem Weg zum Anmeldedienst %1 lehnte die Verbindung ab.</translation></message>
<message><source>What the sign-in service at %1 answered can't be read.</source><translation>Was der Anmeldedienst %1 antwortete, lässt sich nicht lesen.</translation></message>
<message><source>The sign-in service at %1 can't be reached.</source><translation>Der Anmeldedienst %1 ist nicht erreichbar.</translation></message>
<message><source>The sign-in service at %1 refused the client id or its certificate.</source><translation>Der Anmeldedienst %1 lehnte die Client-ID oder ihr Zertifikat ab.</translation></message>
<message><source>The sign-in service at %1 refused the client id or its secret.</source><translation>Der Anmeldedienst %1 lehnte die Client-ID oder ihr Geheimnis ab.</translation></message>
<message><source>The sign-in service at %1 does not let this client sign in by a code; it needs the grants device_code and refresh_token.</source><translation>Beim Anmeldedienst %1 darf sich dieser Client nicht durch einen Code anmelden; er braucht die Rechte device_code und refresh_token.</translation></message>
<message><source>The sign-in service at %1 does not let this client sign in by itself; it needs the grant client_credentials.</source><translation>Beim Anmeldedienst %1 darf sich dieser Client nicht selbst anmelden; er braucht das Recht client_credentials.</translation></message>
<message><source>The sign-in service at %1 does not give this client the scope that it asks for.</source><translation>Der Anmeldedienst %1 gibt diesem Client nicht den Umfang (scope), den er verlangt.</translation></message>
<message><source>The sign-in service at %1 does not know the audience that is asked for.</source><translation>Der Anmeldedienst %1 kennt den verlangten Empfänger (audience) nicht.</translation></message>
<message><source>The sign-in service at %1 refused the request for a token.</source><translation>Der Anmeldedienst %1 lehnte die Bitte um ein Token ab.</translation></message>
<message><source>A web page came from %1 (status %2) in place of a token; the address may be wrong, or this network asks for a sign-in of its own.</source><translation>Von %1 kam eine Webseite (Status %2) statt eines Tokens; vielleicht ist die Adresse falsch, oder dieses Netz verlangt eine eigene Anmeldung.</translation></message>
<message><source>What the sign-in service at %1 answered (status %2) is no token.</source><translation>Was der Anmeldedienst %1 antwortete (Status %2), ist kein Token.</translation></message>
<message><source>The configuration that %1 publishes names no %2.</source><translation>Die Konfiguration, die %1 veröffentlicht, nennt keine %2.</translation></message>
<message><source>The issuer at %1 publishes no configuration (status %2); name its token endpoint in its place.</source><translation>Der Aussteller %1 veröffentlicht keine Konfiguration (Status %2); nennen Sie stattdessen die Adresse seiner Token.</translation></message>
<message><source>The configuration that %1 publishes is not that of the issuer that was named.</source><translation>Die Konfiguration, die %1 veröffentlicht, ist nicht die des genannten Ausstellers.</translation></message>
<message><source>The sign-in service must have an https address, and %1 is none.</source><translation>Der Anmeldedienst muss eine https-Adresse haben, und %1 ist keine.</translation></message>
<message><source>The sign-in service at %1 did not accept the client certificate of this gateway, or wants one.</source><translation>Der Anmeldedienst %1 nahm das Client-Zertifikat dieses Gateways nicht an oder verlangt eines.</translation></message>
<message><source>The sign-in service at %1 can't give a token now (status %2).</source><translation>Der Anmeldedienst %1 kann jetzt kein Token geben (Status %2).</translation></message>
<message><source>Nothing at %1 gives out tokens (status %2); the address may be wrong.</source><translation>Unter %1 gibt nichts Token aus (Status %2); vielleicht ist die Adresse falsch.</translation></message>
<message><source>What refuses tokens at %1 (status %2) doesn't say why, as a sign-in service would.</source><translation>Was unter %1 Token verweigert (Status %2), nennt keinen Grund, wie es ein Anmeldedienst täte.</translation></message>
<message><source>The sign-in service at %1 refused the signed statement; the clock of this computer differs from its own by %2 seconds.</source><translation>Der Anmeldedienst %1 lehnte die unterschriebene Erklärung ab; die Uhr dieses Computers weicht um %2 Sekunden von seiner ab.</translation></message>
<message><source>The sign-in service at %1 gave no token that a request can carry.</source><translation>Der Anmeldedienst %1 gab kein Token, das eine Anfrage tragen kann.</translation></message>
<message><source>The archive wants a user name and a password, or another sign-in.</source><translation>Das Archiv verlangt Benutzernamen und Passwort oder eine andere Anmeldung.</translation></message>
<message><source>The archive refused the user name or the password.</source><translation>Das Archiv lehnte den Benutzernamen oder das Passwort ab.</translation></message>
<message><source>The archive refused the token.</source><translation>Das Archiv lehnte das Token ab.</translation></message>
<message><source>The archive refused the token that the sign-in service gave; scope and audience may not be what it wants.</source><translation>Das Archiv lehnte das Token ab, das der Anmeldedienst gab; vielleicht verlangt es einen anderen Umfang (scope) oder Empfänger (audience).</translation></message>
<message><source>A sign-in by a code needs one that somebody has entered.</source><translation>Eine Anmeldung durch einen Code braucht einen, den jemand eingegeben hat.</translation></message>
<message><source>The cloud service wants an e-mail address and a password; only an archive of the kind dicomweb can do without.</source><translation>Die Cloud verlangt E-Mail-Adresse und Passwort; nur ein Archiv der Art dicomweb kommt ohne aus.</translation></message>
<message><source>The cloud service gave a session that can't be sent back to it: its token holds characters that no request may carry, or is too long.</source><translation>Die Cloud gab eine Sitzung, die sich nicht an sie zurücksenden lässt: Ihr Token ist zu lang oder enthält Zeichen, die keine Anfrage tragen darf.</translation></message>
<message><source>No issuer is named who would say where tokens are taken back.</source><translation>Es ist kein Aussteller genannt, der sagt, wo Token zurückgenommen werden.</translation></message>
<message><source>The sign-in service at %1 has ended the sign-in; images are kept here until somebody signs in again.</source><translation>Der Anmeldedienst %1 hat die Anmeldung beendet; Bilder bleiben hier, bis sich wieder jemand anmeldet.</translation></message>
<message><source>address where tokens are given out</source><translation>Adresse, unter der Token ausgegeben werden</translation></message>
<message><source>address where codes for a sign-in are given out</source><translation>Adresse, unter der Codes für eine Anmeldung ausgegeben werden</translation></message>
<message><source>address where tokens are taken back</source><translation>Adresse, unter der Token zurückgenommen werden</translation></message>
<message><source>It sent a web page, so it may be something on the way there.</source><translation>Er schickte eine Webseite; es kann also etwas auf dem Weg dorthin sein.</translation></message>
<message><source>The file of the archive's token, %1, can't be read: its disk or network share doesn't answer.</source><translation>Die Datei %1 mit dem Token des Archivs lässt sich nicht lesen: Ihr Datenträger oder ihre Netzwerkfreigabe antwortet nicht.</translation></message>
<message><source>The archive wasn't asked for the image: a moment ago it left such a question unanswered, or asked for a pause.</source><translation>Das Archiv wurde nach dem Bild nicht gefragt: Vor Kurzem ließ es eine solche Frage unbeantwortet oder bat um eine Pause.</translation></message>
</context>
<context><name>DesktopScreens</name>
<message><source>Bug Report Sent</source><translation>Fehlerbericht gesendet</translation></message>
<message><source>Report has been sent successfully.</source><translation>Der Bericht ist angekommen.</translation></message>
<message><source>Quorin Gateway</source><translation>Quorin Gateway</translation></message>
<message><source>Version %1&#10;&#10;Takes images over the DICOM network, keeps them safe, and sends them to the cloud.</source><translation>Version %1&#10;&#10;Nimmt Bilder über das DICOM-Netz an, bewahrt sie sicher auf und sendet sie in die Cloud.</translation></message>
<message><source>Export Table</source><translation>Tabelle exportieren</translation></message>
<message><source>CSV files (*.csv)</source><translation>CSV-Dateien (*.csv)</translation></message>
<message><source>Select Incoming Files Folder</source><translation>Eingangsordner wählen</translation></message>
<message><source>Choose</source><translation>Wählen</translation></message>
<message><source>Export Setup Summary</source><translation>Zusammenfassung exportieren</translation></message>
<message><source>PDF documents (*.pdf)</source><translation>PDF-Dokumente (*.pdf)</translation></message>
<message><source>Export</source><translation>Exportieren</translation></message>
<message><source>Setup Is Finished</source><translation>Die Einrichtung ist fertig</translation></message>
<message><source>Select Destination Folder</source><translation>Zielordner wählen</translation></message>
<message><source>Choose files</source><translation>Dateien wählen</translation></message>
<message><source>Save Support Bundle</source><translation>Diagnosepaket sichern</translation></message>
<message><source>Text files (*.txt)</source><translation>Textdateien (*.txt)</translation></message>
</context>
<context><name>DeviceSignIn</name>
<message><source>Sign in failed.</source><translation>Die Anmeldung ist fehlgeschlagen.</translation></message>
<message><source>The sign-in was given up.</source><translation>Die Anmeldung wurde abgebrochen.</translation></message>
<message><source>The code is over before somebody has entered it; begin again.</source><translation>Der Code ist abgelaufen, bevor ihn jemand eingegeben hat; beginnen Sie von vorn.</translation></message>
<message><source>The sign-in service didn't answer until the code was over; begin again.</source><translation>Der Anmeldedienst antwortete nicht, bis der Code ablief; beginnen Sie von vorn.</translation></message>
</context>
<context><name>DoctorFinding</name>
<message><source>The index is damaged, and nothing is changed in it. Restore it from a backup; or end the gateway, move the index away and run doctor --repair, which records the stored images anew.</source><translation>Der Index ist beschädigt; darin wird nichts geändert. Stellen Sie ihn aus einer Sicherung wieder her; oder beenden Sie das Gateway, legen Sie den Index beiseite und rufen Sie doctor --repair auf, das die gespeicherten Bilder neu verzeichnet.</translation></message>
<message><source>The index could not be read or written to the end. Check that its disk has room and can be written, and run doctor again.</source><translation>Der Index konnte nicht bis zum Ende gelesen oder geschrieben werden. Prüfen Sie, ob sein Datenträger Platz hat und beschreibbar ist, und rufen Sie doctor noch einmal auf.</translation></message>
<message><source>A count in the index isn't that of its images. --repair counts anew.</source><translation>Eine Anzahl im Index stimmt nicht mit seinen Bildern überein. --repair zählt neu.</translation></message>
<message><source>The state of a study or series isn't that of its images. --repair works it out anew.</source><translation>Der Zustand einer Studie oder Serie passt nicht zu ihren Bildern. --repair ermittelt ihn neu.</translation></message>
<message><source>A stored image is missing in the index, so that it isn't sent. --repair records it.</source><translation>Ein gespeichertes Bild fehlt im Index und wird deshalb nicht gesendet. --repair verzeichnet es.</translation></message>
<message><source>A stored file can't be read as an image. It is kept; look at it, and send the image again from the device that made it.</source><translation>Eine gespeicherte Datei ist nicht als Bild lesbar. Sie bleibt erhalten; sehen Sie sie an und senden Sie das Bild von dem Gerät, das es erzeugt hat, noch einmal.</translation></message>
<message><source>A stored file could not be read, which may pass. Check its disk, and run doctor again.</source><translation>Eine gespeicherte Datei konnte nicht gelesen werden; das kann vorübergehen. Prüfen Sie ihr Laufwerk und rufen Sie doctor noch einmal auf.</translation></message>
<message><source>The stored file of an image is gone, and the image isn't in the cloud. Put the file back from a backup, or send the image again from the device that made it.</source><translation>Die gespeicherte Datei eines Bildes ist verschwunden, und das Bild ist nicht in der Cloud. Legen Sie die Datei aus einer Sicherung zurück oder senden Sie das Bild von dem Gerät, das es erzeugt hat, noch einmal.</translation></message>
<message><source>The folder of a stored file can't be seen. Check that its disk is there; nothing is changed.</source><translation>Der Ordner einer gespeicherten Datei ist nicht zu sehen. Prüfen Sie, ob sein Datenträger da ist; es wird nichts geändert.</translation></message>
<message><source>An image in the index names no file, so that it can't be sent. Where another file store was taken for that of the index, it lies in the one before; else send it again from the device that made it.</source><translation>Ein Bild im Index nennt keine Datei und kann deshalb nicht gesendet werden. Wurde eine andere Ablage als die des Index übernommen, liegt es in der davor; andernfalls senden Sie es von dem Gerät, das es erzeugt hat, noch einmal.</translation></message>
<message><source>The stored file of an image is gone, but the image is in the cloud. Nothing needs to be done.</source><translation>Die gespeicherte Datei eines Bildes ist verschwunden, aber das Bild ist in der Cloud. Es ist nichts zu tun.</translation></message>
<message><source>An earlier copy of an image that came more than once is kept. Where the store put it there itself, --repair lets it go once the later one is in the cloud.</source><translation>Von einem Bild, das mehrmals kam, ist noch eine frühere Kopie aufbewahrt. Hat der Speicher sie selbst dort abgelegt, lässt --repair sie gehen, sobald die spätere in der Cloud ist.</translation></message>
<message><source>A stored file of an image ends too early, and an earlier one that is whole is kept beside it. --repair lets the whole one be sent.</source><translation>Eine gespeicherte Datei eines Bildes endet zu früh, und eine frühere, vollständige liegt noch daneben. --repair lässt die vollständige senden.</translation></message>
<message><source>A received image ends too early. It is kept, and sent where no whole one is known. Send it again from the device that made it: a whole one takes its place.</source><translation>Ein empfangenes Bild endet zu früh. Es wird aufbewahrt und gesendet, wo kein vollständiges bekannt ist. Senden Sie es von dem Gerät, das es erzeugt hat, noch einmal: Ein vollständiges tritt an seine Stelle.</translation></message>
<message><source>A received image was not sent: another version of it, brought in by a person or of unknown origin, came later and is in the cloud. Both are kept. Send it again from the device that made it: what comes last is sent.</source><translation>Ein empfangenes Bild wurde nicht gesendet: Eine andere Fassung davon, die jemand importiert hat oder deren Herkunft nicht bekannt ist, kam später und ist in der Cloud. Beide sind aufbewahrt. Senden Sie das Bild von dem Gerät, das es erzeugt hat, noch einmal: Was zuletzt kommt, wird gesendet.</translation></message>
<message><source>The index can't be written, so that nothing is taken in or sent. What was received is kept. Check that its disk has room and can be written; the gateway goes on by itself then.</source><translation>In den Index lässt sich nicht schreiben, deshalb wird nichts aufgenommen oder gesendet. Was empfangen wurde, ist aufbewahrt. Prüfen Sie, ob sein Datenträger Platz hat und beschrieben werden kann; dann geht es von selbst weiter.</translation></message>
<message><source>The listener is switched on but doesn't listen, so that no device can send images. quorin-gateway status says why.</source><translation>Der Listener ist eingeschaltet, lauscht aber nicht, deshalb kann kein Gerät Bilder senden. quorin-gateway status sagt, warum.</translation></message>
<message><source>An image waits, and nobody is signed in to the cloud. It is kept here, but not sent. Sign in: quorin-gateway sign-in --email ADDRESS.</source><translation>Ein Bild wartet, und niemand ist bei der Cloud angemeldet. Es ist hier aufbewahrt, wird aber nicht gesendet. Melden Sie sich an: quorin-gateway sign-in --email ADRESSE.</translation></message>
<message><source>A file that isn't an image lies among the stored ones. It is left alone.</source><translation>Unter den gespeicherten Dateien liegt eine, die kein Bild ist. Sie bleibt unberührt.</translation></message>
<message><source>The file of a deleted image waits to be removed. The gateway goes on trying.</source><translation>Die Datei eines gelöschten Bildes wartet darauf, entfernt zu werden. Das Gateway versucht es weiter.</translation></message>
<message><source>An incoming folder that was used before another was chosen is out of sight, and received images may wait there. Bring its volume back; what waits is taken in by itself.</source><translation>Ein Eingangsordner, der vor der Wahl eines anderen benutzt wurde, ist nicht zu sehen; dort können empfangene Bilder warten. Machen Sie seinen Datenträger wieder zugänglich; was wartet, wird von selbst aufgenommen.</translation></message>
<message><source>A received image waits in the incoming folder. It is taken in while the listener runs.</source><translation>Ein empfangenes Bild wartet im Eingangsordner. Es wird aufgenommen, solange der Listener läuft.</translation></message>
<message><source>A received object could not be taken in and is kept in the folder .rejected of the incoming folder. --repair tries it again. What stays is perhaps no image: look at it, send it again from the device that made it, and move it away.</source><translation>Ein empfangenes Objekt konnte nicht aufgenommen werden und liegt im Ordner .rejected des Eingangsordners. --repair versucht es noch einmal. Was bleibt, ist vielleicht kein Bild: Sehen Sie es sich an, senden Sie es von dem Gerät, das es erzeugt hat, noch einmal und verschieben Sie es dann.</translation></message>
<message><source>The index lacks stored images: it was made anew, or came back from a backup. They are being recorded in it again while the gateway runs, and by --repair at once.</source><translation>Im Index fehlen gespeicherte Bilder: Er wurde neu angelegt oder kam aus einer Sicherung zurück. Sie werden wieder darin verzeichnet, solange das Gateway läuft, und von --repair sofort.</translation></message>
<message><source>The file of an image that was taken in can't be removed from the incoming folder, which fills up so. The image is safe. Let the gateway delete files there, or see whether the disk can be written; the gateway goes on trying.</source><translation>Die Datei eines aufgenommenen Bildes lässt sich nicht aus dem Eingangsordner entfernen, der sich so füllt. Das Bild ist sicher. Erlauben Sie dem Gateway, dort Dateien zu löschen, oder prüfen Sie, ob die Festplatte beschreibbar ist; das Gateway versucht es weiter.</translation></message>
<message><source>A received image has been waiting in the incoming folder for more than five minutes. It is kept. Start the gateway and its listener where they don't run, and see to what else is told here; it is taken in by itself then.</source><translation>Ein empfangenes Bild wartet seit mehr als fünf Minuten im Eingangsordner. Es bleibt erhalten. Starten Sie das Gateway und seinen Listener, wo sie nicht laufen, und kümmern Sie sich um das, was hier sonst genannt ist; es wird dann von selbst aufgenommen.</translation></message>
<message><source>The file store can't be written, so that nothing is taken in. What was received is kept in the incoming folder. Check that its disk has room and can be written; the gateway goes on by itself then.</source><translation>Die Ablage kann nicht beschrieben werden, so dass nichts aufgenommen wird. Was empfangen wurde, bleibt im Eingangsordner. Prüfen Sie, ob ihr Datenträger Platz hat und beschreibbar ist; das Gateway macht dann von selbst weiter.</translation></message>
<message><source>Images were stored in the file store, and now not even its folders are there. Nothing is taken in; what was received is kept in the incoming folder. Bring its volume back; where the store was emptied on purpose, make a folder 10000 in it.</source><translation>In der Ablage lagen Bilder, und nun fehlen selbst ihre Ordner. Es wird nichts aufgenommen; was empfangen wurde, bleibt im Eingangsordner. Binden Sie ihren Datenträger wieder ein; wurde die Ablage mit Absicht geleert, legen Sie darin einen Ordner 10000 an.</translation></message>
<message><source>Another gateway works in an incoming folder of this one, which leaves it alone. Give each gateway an incoming folder of its own.</source><translation>Ein anderes Gateway arbeitet in einem Eingangsordner von diesem, das ihn in Ruhe lässt. Geben Sie jedem Gateway einen eigenen Eingangsordner.</translation></message>
<message><source>The incoming folder is out of sight, or another one stands in its place, and received images may wait in it. Bring its volume back; what waits is taken in by itself. Where it is gone for good, make an empty folder .part in it, in the place of one that is there.</source><translation>Der Eingangsordner ist nicht zu sehen, oder ein anderer steht an seiner Stelle; in ihm können empfangene Bilder warten. Binden Sie seinen Datenträger wieder ein; was wartet, wird von selbst aufgenommen. Ist er für immer verloren, legen Sie darin einen leeren Ordner .part an, an Stelle eines vorhandenen.</translation></message>
<message><source>Received images wait in an incoming folder that was used while this home lay elsewhere. They are left to the gateway of that home. Where there is none, because the home was moved, choose that folder as the incoming folder until it is empty.</source><translation>In einem Eingangsordner, der benutzt wurde, als dieses Home anderswo lag, warten empfangene Bilder. Sie bleiben dem Gateway jenes Homes überlassen. Gibt es keines, weil das Home umgezogen ist, wählen Sie diesen Ordner als Eingangsordner, bis er leer ist.</translation></message>
<message><source>Another file store stands where that of the index was: it has another number, or holds other images. Nothing is taken in, sent or removed; what was received is kept in the incoming folder. Bring the right volume back. Only where this is the one to be used from now on: --repair takes it for that, and records what it holds; of the other one, images that weren't sent are told as images without a file.</source><translation>Wo die Ablage des Index war, steht eine andere: Sie hat eine andere Nummer oder enthält andere Bilder. Nichts wird aufgenommen, gesendet oder entfernt; was empfangen wurde, bleibt im Eingangsordner. Binden Sie den richtigen Datenträger wieder ein. Nur wenn diese Ablage von nun an benutzt werden soll: --repair übernimmt sie und verzeichnet, was sie enthält; von der anderen werden Bilder, die nicht gesendet sind, als Bilder ohne Datei gemeldet.</translation></message>
<message><source>The index as the version before left it is kept, so that one can go back to that version. It goes when this one has been ended in an orderly way and starts again.</source><translation>Der Index, wie ihn die vorige Version hinterlassen hat, wird aufbewahrt, damit man zu ihr zurückkehren kann. Er wird entfernt, wenn diese Version ordentlich beendet wurde und wieder startet.</translation></message>
</context>
<context><name>FailureSentence</name>
<message><source>Nobody is signed in to the cloud. Images are still received and kept here. Sign in, and they are sent.</source><translation>Niemand ist bei der Cloud angemeldet. Bilder werden weiter empfangen und hier aufbewahrt. Melden Sie sich an, dann werden sie gesendet.</translation></message>
<message><source>The session with the cloud has ended. Images are still received and kept here. Sign in again, and they are sent.</source><translation>Die Anmeldung bei der Cloud ist abgelaufen. Bilder werden weiter empfangen und hier aufbewahrt. Melden Sie sich wieder an, dann werden sie gesendet.</translation></message>
<message><source>The cloud waits until its terms are accepted. Images are still received and kept here. Accept the terms, and they are sent.</source><translation>Die Cloud wartet, bis ihre Bedingungen angenommen sind. Bilder werden weiter empfangen und hier aufbewahrt. Nehmen Sie die Bedingungen an, dann werden sie gesendet.</translation></message>
<message><source>This account may not store images in the cloud. Images are still received and kept here. Ask whoever runs the cloud account to permit it.</source><translation>Dieses Konto darf keine Bilder in der Cloud ablegen. Bilder werden weiter empfangen und hier aufbewahrt. Bitten Sie, wer das Cloud-Konto verwaltet, es zu erlauben.</translation></message>
<message><source>The cloud's storage allowance is used up. Images are kept here and sent when there is room. Delete studies there that are no longer needed, or ask for more room.</source><translation>Der Speicherplatz in der Cloud ist aufgebraucht. Bilder werden hier aufbewahrt und gesendet, sobald Platz ist. Löschen Sie dort Studien, die nicht mehr gebraucht werden, oder lassen Sie sich mehr Platz geben.</translation></message>
<message><source>The cloud had no room for the image at that moment. It is kept here and sent again with the next upload. If this goes on, tell whoever runs the cloud.</source><translation>Die Cloud hatte in diesem Augenblick keinen Platz für das Bild. Es wird hier aufbewahrt und beim nächsten Hochladen wieder gesendet. Geht das so weiter, sagen Sie es dem Betreiber der Cloud.</translation></message>
<message><source>The image is larger than the cloud takes. It is kept here, and other images are sent. Ask whoever runs the cloud to allow larger ones.</source><translation>Das Bild ist größer, als die Cloud annimmt. Es wird hier aufbewahrt, andere Bilder werden gesendet. Bitten Sie den Betreiber der Cloud, größere zu erlauben.</translation></message>
<message><source>The cloud was too busy for the image. It is kept here and sent again with the next upload. Nothing needs to be done.</source><translation>Die Cloud war für das Bild zu beschäftigt. Es wird hier aufbewahrt und beim nächsten Hochladen wieder gesendet. Es ist nichts zu tun.</translation></message>
<message><source>The cloud has a fault of its own. Images are kept here and sent again with the next upload. If this lasts for hours, tell whoever runs the cloud.</source><translation>Die Cloud hat selbst eine Störung. Bilder werden hier aufbewahrt und beim nächsten Hochladen wieder gesendet. Dauert das Stunden, sagen Sie es dem Betreiber der Cloud.</translation></message>
<message><source>Nothing at the cloud's address takes images. Images are still received and kept here. Check the address of the cloud.</source><translation>Unter der Adresse der Cloud nimmt niemand Bilder an. Bilder werden weiter empfangen und hier aufbewahrt. Prüfen Sie die Adresse der Cloud.</translation></message>
<message><source>Something else answered in the cloud's place. Images are still received and kept here. Check the address of the cloud, and whether this network asks for a sign-in of its own.</source><translation>Statt der Cloud hat etwas anderes geantwortet. Bilder werden weiter empfangen und hier aufbewahrt. Prüfen Sie die Adresse der Cloud und ob dieses Netz eine eigene Anmeldung verlangt.</translation></message>
<message><source>The cloud did not take the image. It is kept here and tried again with each upload. If this goes on, tell whoever runs the cloud.</source><translation>Die Cloud hat das Bild nicht angenommen. Es wird hier aufbewahrt und bei jedem Hochladen wieder versucht. Geht das so weiter, sagen Sie es dem Betreiber der Cloud.</translation></message>
<message><source>The cloud does not take images of this kind. They are kept here, and other images are sent. Ask whoever runs the cloud to take them.</source><translation>Die Cloud nimmt Bilder dieser Art nicht an. Sie werden hier aufbewahrt, andere Bilder werden gesendet. Bitten Sie den Betreiber der Cloud, sie anzunehmen.</translation></message>
<message><source>The cloud found something wrong with what the image says of itself. It is kept here, and other images are sent. Have the device that made it checked, and send the image again from there.</source><translation>Die Cloud fand die Angaben des Bildes fehlerhaft. Es wird hier aufbewahrt, andere Bilder werden gesendet. Lassen Sie das Gerät prüfen, das es erzeugt hat, und senden Sie das Bild von dort noch einmal.</translation></message>
<message><source>The cloud could not read the image. It is kept here, and other images are sent. Look at it on the device that made it, and send it again from there.</source><translation>Die Cloud konnte das Bild nicht lesen. Es wird hier aufbewahrt, andere Bilder werden gesendet. Sehen Sie es auf dem Gerät an, das es erzeugt hat, und senden Sie es von dort noch einmal.</translation></message>
<message><source>The image could not be compressed, and the cloud did not take it as it is. It is kept here, and other images are sent. Look at it on the device that made it, and send it again from there.</source><translation>Das Bild ließ sich nicht komprimieren, und unverändert nahm die Cloud es nicht an. Es wird hier aufbewahrt, andere Bilder werden gesendet. Sehen Sie es auf dem Gerät an, das es erzeugt hat, und senden Sie es von dort noch einmal.</translation></message>
<message><source>The cloud did not confirm that it keeps the image. It is kept here and sent again with the next upload. If this goes on, tell whoever runs the cloud.</source><translation>Die Cloud hat nicht bestätigt, dass sie das Bild verwahrt. Es wird hier aufbewahrt und beim nächsten Hochladen wieder gesendet. Geht das so weiter, sagen Sie es dem Betreiber der Cloud.</translation></message>
<message><source>The address of the cloud could not be found. Images are still received and kept here, and are sent when the cloud is found. Check the network and the address of the cloud.</source><translation>Die Adresse der Cloud war nicht zu finden. Bilder werden weiter empfangen, hier aufbewahrt und gesendet, sobald die Cloud gefunden ist. Prüfen Sie das Netz und die Adresse der Cloud.</translation></message>
<message><source>The cloud could not be reached. Images are still received and kept here, and are sent when it can be. Check the network.</source><translation>Die Cloud war nicht erreichbar. Bilder werden weiter empfangen, hier aufbewahrt und gesendet, sobald sie es ist. Prüfen Sie das Netz.</translation></message>
<message><source>No secure connection to the cloud could be made. Images are still received and kept here. Check the date of this computer, and the cloud's certificate.</source><translation>Es kam keine sichere Verbindung zur Cloud zustande. Bilder werden weiter empfangen und hier aufbewahrt. Prüfen Sie das Datum dieses Rechners und das Zertifikat der Cloud.</translation></message>
<message><source>The cloud did not answer in time. Images are kept here and sent again with the next upload. If this goes on, check the network.</source><translation>Die Cloud hat nicht rechtzeitig geantwortet. Bilder werden hier aufbewahrt und beim nächsten Hochladen wieder gesendet. Geht das so weiter, prüfen Sie das Netz.</translation></message>
<message><source>The connection to the cloud was lost. Images are kept here and sent again with the next upload. If this goes on, check the network.</source><translation>Die Verbindung zur Cloud ging verloren. Bilder werden hier aufbewahrt und beim nächsten Hochladen wieder gesendet. Geht das so weiter, prüfen Sie das Netz.</translation></message>
<message><source>The stored file of the image is gone. Other images are sent. Put it back from a backup, or send the image again from the device that made it.</source><translation>Die gespeicherte Datei des Bildes ist verschwunden. Andere Bilder werden gesendet. Legen Sie sie aus einer Sicherung zurück oder senden Sie das Bild von dem Gerät, das es erzeugt hat, noch einmal.</translation></message>
<message><source>The stored file of the image could not be read. It is left as it is, and other images are sent. Check the disk, and send the image again from the device that made it.</source><translation>Die gespeicherte Datei des Bildes war nicht lesbar. Sie bleibt, wie sie ist, andere Bilder werden gesendet. Prüfen Sie den Datenträger und senden Sie das Bild von dem Gerät, das es erzeugt hat, noch einmal.</translation></message>
<message><source>The upload failed for another reason. Images are kept here and tried again with each upload. If this goes on, report the problem.</source><translation>Das Hochladen scheiterte aus einem anderen Grund. Bilder werden hier aufbewahrt und bei jedem Hochladen wieder versucht. Geht das so weiter, melden Sie das Problem.</translation></message>
<message><source>The image has no identifier that the cloud could confirm. It is kept here, and other images are sent. Have the device that made it checked, and send the image again from there.</source><translation>Das Bild hat keine Kennung, die die Cloud bestätigen könnte. Es wird hier aufbewahrt, andere Bilder werden gesendet. Lassen Sie das Gerät prüfen, das es erzeugt hat, und senden Sie das Bild von dort noch einmal.</translation></message>
<message><source>The cloud holds another image under this identifier and did not take this one in its place. It is kept here and never removed by itself, and other images are sent. Ask whoever runs the cloud which of the two is wanted there.</source><translation>Die Cloud hat unter dieser Kennung ein anderes Bild und nahm dieses nicht an dessen Stelle. Es wird hier aufbewahrt und nie von selbst entfernt, andere Bilder werden gesendet. Fragen Sie den Betreiber der Cloud, welches der beiden dort gewünscht ist.</translation></message>
<message><source>The cloud says that it has the image, but another image may have been sent under this identifier before, and what the cloud has can't be fetched for comparison. It is kept here and never removed by itself, and other images are sent. Ask whoever runs the cloud to permit fetching images.</source><translation>Die Cloud sagt, sie habe das Bild, doch wurde unter dieser Kennung vielleicht schon ein anderes gesendet, und was die Cloud hat, lässt sich nicht zum Vergleich abrufen. Es wird hier aufbewahrt und nie von selbst entfernt, andere Bilder werden gesendet. Bitten Sie den Betreiber der Cloud, das Abrufen von Bildern zu erlauben.</translation></message>
<message><source>The cloud has to be asked what it holds of this image before it is sent, and gave no usable answer. The image is kept here and tried again by itself. If this goes on, ask whoever runs the cloud to permit queries and fetching images.</source><translation>Die Cloud muss gefragt werden, was sie von diesem Bild hat, bevor es gesendet wird, und gab keine brauchbare Antwort. Das Bild wird hier aufbewahrt und von selbst wieder versucht. Bleibt es dabei, bitten Sie den Betreiber der Cloud, Abfragen und das Abrufen von Bildern zu erlauben.</translation></message>
<message><source>A later version of this image has gone to the cloud already, and this one is not sent over it. It is kept here and never removed by itself, and other images are sent. If this is the one that is wanted, send it again from the device that made it; else delete it here.</source><translation>Eine spätere Fassung dieses Bildes ist schon in die Cloud gegangen, und diese wird nicht darüber gesendet. Sie wird hier aufbewahrt und nie von selbst entfernt, andere Bilder werden gesendet. Ist diese die gewünschte, senden Sie sie von dem Gerät, das sie gemacht hat, noch einmal; sonst löschen Sie sie hier.</translation></message>
<message><source>The gateway's own record of its images, or the place of their files, could not be read or written. Images are kept here, and sending goes on by itself once it can be. Check the disk of this computer, bring the volume of the files back where it is away, or make room.</source><translation>Das eigene Verzeichnis des Gateways über seine Bilder oder der Ort ihrer Dateien ließ sich nicht lesen oder schreiben. Bilder werden hier aufbewahrt, und das Senden geht von selbst weiter, sobald es wieder geht. Prüfen Sie den Datenträger dieses Rechners, bringen Sie den der Dateien zurück, wo er fehlt, oder schaffen Sie Platz.</translation></message>
<message><source>The cloud has taken the image and doesn't show it yet. It is kept here and looked for again, and sent again where it doesn't come. If this goes on, tell whoever runs the cloud.</source><translation>Die Cloud hat das Bild angenommen und zeigt es noch nicht. Es wird hier aufbewahrt und wieder gesucht, und noch einmal gesendet, wenn es ausbleibt. Bleibt es dabei, sagen Sie es denen, die die Cloud betreiben.</translation></message>
<message><source>What this gateway signs in with can't be had at this moment. Images are still received and kept here, and are sent when it can be. If this goes on, tell whoever runs the sign-in service or keeps its file.</source><translation>Womit dieses Gateway sich anmeldet, ist im Augenblick nicht zu bekommen. Bilder werden weiter empfangen und hier aufbewahrt, und gesendet, sobald es zu bekommen ist. Bleibt es dabei, sagen Sie es denen, die den Anmeldedienst betreiben oder seine Datei führen.</translation></message>
<message><source>This computer could not write a temporary file, or start a program, that the upload needs. The image itself is well, and it is kept here and tried again by itself. Make room on the disk of this computer.</source><translation>Dieser Computer konnte eine temporäre Datei nicht schreiben oder ein Programm nicht starten, die das Hochladen braucht. Das Bild selbst ist in Ordnung, es wird hier aufbewahrt und von selbst wieder versucht. Schaffen Sie Platz auf dem Datenträger dieses Computers.</translation></message>
<message><source>The stored file of the image is damaged: it isn't what was received. It is not sent and left as it is, and other images are sent. Check the disk, and send the image again from the device that made it.</source><translation>Die abgelegte Datei des Bildes ist beschädigt: Sie ist nicht mehr, was empfangen wurde. Sie wird nicht gesendet und bleibt, wie sie ist; andere Bilder werden gesendet. Prüfen Sie die Festplatte, und senden Sie das Bild noch einmal von dem Gerät, das es aufgenommen hat.</translation></message>
<message><source>The stored file holds another image than the index says, so it isn't sent in its name. Nothing is removed. Check that the right volume stands where the images are stored, and run doctor.</source><translation>Die abgelegte Datei enthält ein anderes Bild, als der Index sagt, und wird daher nicht in dessen Namen gesendet. Nichts wird entfernt. Prüfen Sie, ob dort, wo die Bilder liegen, der richtige Datenträger eingebunden ist, und rufen Sie doctor auf.</translation></message>
</context>
<context><name>Listener</name>
<message><source>DIMSE Listener Error</source><translation>Fehler des DIMSE-Listeners</translation></message>
<message><source>Failed to start DIMSE listener.</source><translation>Der DIMSE-Listener ließ sich nicht starten.</translation></message>
<message><source>Failed to start DIMSE listener on port %1. Another app may already be using this port.</source><translation>Der DIMSE-Listener ließ sich auf Port %1 nicht starten. Vielleicht benutzt schon ein anderes Programm diesen Port.</translation></message>
<message><source>The DICOM listener's process gave no sign of life and was ended.</source><translation>Der Prozess des DICOM-Listeners gab kein Lebenszeichen und wurde beendet.</translation></message>
<message><source>The DICOM listener's process ended unexpectedly (status %1).</source><translation>Der Prozess des DICOM-Listeners endete unerwartet (Status %1).</translation></message>
<message><source>The DICOM listener's process was ended by signal %1.</source><translation>Der Prozess des DICOM-Listeners wurde durch Signal %1 beendet.</translation></message>
<message><source>The DICOM listener can't be started: %1.</source><translation>Der DICOM-Listener lässt sich nicht starten: %1.</translation></message>
<message><source>The incoming folder %1 can't be used: %2.</source><translation>Der Eingangsordner %1 lässt sich nicht verwenden: %2.</translation></message>
<message><source>The incoming folder %1 lies on a volume that can't sync folders (%2), so that no image on it would be safe. Choose a folder on another volume.</source><translation>Der Eingangsordner %1 liegt auf einem Datenträger, der Ordner nicht zuverlässig sichert (%2); kein Bild wäre dort sicher. Wählen Sie einen Ordner auf einem anderen Datenträger.</translation></message>
<message><source>The incoming folder %1 lies on a volume that can't keep the times of files (%2), so that of two versions of an image nobody could tell the later one. Choose a folder on another volume.</source><translation>Der Eingangsordner %1 liegt auf einem Datenträger, der die Zeiten von Dateien nicht festhält (%2); bei zwei Fassungen eines Bildes wäre nicht zu erkennen, welche die spätere ist. Wählen Sie einen Ordner auf einem anderen Datenträger.</translation></message>
<message><source>Another folder stands in the place of the incoming folder %1.</source><translation>Anstelle des Eingangsordners %1 steht dort ein anderer Ordner.</translation></message>
<message><source>The address %1 can't be bound: it isn't known.</source><translation>Die Adresse %1 lässt sich nicht verwenden: Sie ist nicht bekannt.</translation></message>
<message><source>The address %1 doesn't belong to this machine.</source><translation>Die Adresse %1 gehört nicht zu diesem Rechner.</translation></message>
<message><source>Port %1 is already in use by another program.</source><translation>Port %1 wird bereits von einem anderen Programm verwendet.</translation></message>
<message><source>Port %1 is reserved; this program may not listen on it.</source><translation>Port %1 ist reserviert; dieses Programm darf darauf nicht empfangen.</translation></message>
<message><source>Port %1 doesn't exist.</source><translation>Port %1 gibt es nicht.</translation></message>
<message><source>Can't listen on port %1: %2.</source><translation>Auf Port %1 kann nicht empfangen werden: %2.</translation></message>
<message><source>The DICOM listener can't listen.</source><translation>Der DICOM-Listener kann nicht empfangen.</translation></message>
<message><source>The incoming folder is used by another gateway. Give each gateway an incoming folder of its own.</source><translation>Der Eingangsordner wird von einem anderen Gateway verwendet. Geben Sie jedem Gateway einen eigenen Eingangsordner.</translation></message>
<message><source>The incoming folder is used by another gateway, process %1. Give each gateway an incoming folder of its own.</source><translation>Der Eingangsordner wird von einem anderen Gateway verwendet, Prozess %1. Geben Sie jedem Gateway einen eigenen Eingangsordner.</translation></message>
<message><source>The incoming folder can't be seen at %1, so nothing is received; images may wait in it. Bring its volume back. Where it is gone for good: mkdir -p '%1/.part'.</source><translation>Der Eingangsordner ist unter %1 nicht zu sehen, deshalb wird nichts empfangen; es können noch Bilder darin warten. Binden Sie seinen Datenträger wieder ein. Ist er endgültig verloren: mkdir -p '%1/.part'.</translation></message>
</context>
<context><name>LogEventWords</name>
<message><source>Listener asked to start</source><translation>Listener soll starten</translation></message>
<message><source>Listener started</source><translation>Listener gestartet</translation></message>
<message><source>Listener could not start</source><translation>Listener startete nicht</translation></message>
<message><source>Listener stopped</source><translation>Listener angehalten</translation></message>
<message><source>Incoming folder not found</source><translation>Eingangsordner nicht gefunden</translation></message>
<message><source>Association opened</source><translation>Assoziation begonnen</translation></message>
<message><source>Association closed</source><translation>Assoziation beendet</translation></message>
<message><source>Association broken off</source><translation>Assoziation abgebrochen</translation></message>
<message><source>Image received</source><translation>Bild empfangen</translation></message>
<message><source>Image being recorded</source><translation>Bild wird erfasst</translation></message>
<message><source>Image recorded</source><translation>Bild erfasst</translation></message>
<message><source>Image not recorded</source><translation>Bild nicht erfasst</translation></message>
<message><source>Incoming file removed</source><translation>Eingangsdatei entfernt</translation></message>
<message><source>Upload asked for</source><translation>Hochladen verlangt</translation></message>
<message><source>Upload begun</source><translation>Hochladen begonnen</translation></message>
<message><source>Upload finished</source><translation>Hochladen beendet</translation></message>
<message><source>Upload queued again</source><translation>Hochladen wieder eingereiht</translation></message>
<message><source>Image chosen for upload</source><translation>Bild zum Hochladen gewählt</translation></message>
<message><source>Stored file missing</source><translation>Abgelegte Datei fehlt</translation></message>
<message><source>Sending an image</source><translation>Bild wird gesendet</translation></message>
<message><source>Sending goes on</source><translation>Senden geht weiter</translation></message>
<message><source>Image sent</source><translation>Bild gesendet</translation></message>
<message><source>Image not sent</source><translation>Bild nicht gesendet</translation></message>
<message><source>Result recorded</source><translation>Ergebnis vermerkt</translation></message>
<message><source>Upload state recovered</source><translation>Zustand des Hochladens hergestellt</translation></message>
<message><source>Upload states reconciled</source><translation>Zustände abgeglichen</translation></message>
<message><source>Old images removed</source><translation>Alte Bilder entfernt</translation></message>
<message><source>Old images not removed</source><translation>Alte Bilder nicht entfernt</translation></message>
<message><source>Looking for studies</source><translation>Studien werden gesucht</translation></message>
<message><source>Studies found</source><translation>Studien gefunden</translation></message>
<message><source>Studies not found out</source><translation>Suche nach Studien gescheitert</translation></message>
<message><source>Deleting studies</source><translation>Studien werden gelöscht</translation></message>
<message><source>Studies deleted</source><translation>Studien gelöscht</translation></message>
<message><source>Studies not deleted</source><translation>Studien nicht gelöscht</translation></message>
<message><source>Deleting a study</source><translation>Studie wird gelöscht</translation></message>
<message><source>Study deleted</source><translation>Studie gelöscht</translation></message>
<message><source>Study not deleted</source><translation>Studie nicht gelöscht</translation></message>
<message><source>Looking for series</source><translation>Serien werden gesucht</translation></message>
<message><source>Series found</source><translation>Serien gefunden</translation></message>
<message><source>Series not found out</source><translation>Suche nach Serien gescheitert</translation></message>
<message><source>Deleting several series</source><translation>Mehrere Serien werden gelöscht</translation></message>
<message><source>Several series deleted</source><translation>Mehrere Serien gelöscht</translation></message>
<message><source>Several series not deleted</source><translation>Mehrere Serien nicht gelöscht</translation></message>
<message><source>Deleting a series</source><translation>Serie wird gelöscht</translation></message>
<message><source>Series deleted</source><translation>Serie gelöscht</translation></message>
<message><source>Series not deleted</source><translation>Serie nicht gelöscht</translation></message>
<message><source>Updater started</source><translation>Updates eingerichtet</translation></message>
<message><source>Update check asked for</source><translation>Suche nach Updates verlangt</translation></message>
<message><source>Asking whether this version may run</source><translation>Version wird geprüft</translation></message>
<message><source>Version checked</source><translation>Version geprüft</translation></message>
<message><source>Version not checked</source><translation>Version nicht geprüft</translation></message>
<message><source>Required update found</source><translation>Nötiges Update gefunden</translation></message>
<message><source>Update found</source><translation>Update gefunden</translation></message>
<message><source>No update needed</source><translation>Kein Update nötig</translation></message>
<message><source>Told that updates can't be looked for</source><translation>Gemeldet: Updates nicht erreichbar</translation></message>
<message><source>Started</source><translation>Begonnen</translation></message>
<message><source>Succeeded</source><translation>Gelungen</translation></message>
<message><source>Failed</source><translation>Gescheitert</translation></message>
<message><source>Completed</source><translation>Fertig</translation></message>
<message><source>Skipped</source><translation>Übersprungen</translation></message>
<message><source>Queued</source><translation>Wartet</translation></message>
<message><source>In progress</source><translation>Läuft</translation></message>
</context>
<context><name>LogScreenWords</name>
<message><source>Debug</source><translation>Debug</translation></message>
<message><source>Info</source><translation>Info</translation></message>
<message><source>Warning</source><translation>Warnung</translation></message>
<message><source>Error</source><translation>Fehler</translation></message>
<message><source>All Levels</source><translation>Alle Stufen</translation></message>
<message><source>Listener</source><translation>Listener</translation></message>
<message><source>Receive</source><translation>Empfang</translation></message>
<message><source>Send</source><translation>Senden</translation></message>
<message><source>Upload Queue</source><translation>Warteschlange</translation></message>
<message><source>Quorin Cloud</source><translation>Quorin Cloud</translation></message>
<message><source>All Categories</source><translation>Alle Bereiche</translation></message>
<message><source>Updater</source><translation>Aktualisierung</translation></message>
</context>
<context><name>PackagedUpdates</name>
<message><source>Updates Come With the System</source><translation>Updates kommen mit dem System</translation></message>
<message><source>This is version %1. Your system's package manager keeps the gateway up to date; the gateway itself doesn't look for newer versions.</source><translation>Dies ist Version %1. Die Paketverwaltung Ihres Systems hält das Gateway aktuell; das Gateway selbst sucht nicht nach neueren Versionen.</translation></message>
</context>
<context><name>SetupTrial</name>
<message><source>The listener isn't running. Start it on the dashboard, then try again.</source><translation>Der Listener läuft nicht. Starten Sie ihn in der Übersicht und versuchen Sie es noch einmal.</translation></message>
<message><source>The settings can't be written, so no sample was sent. Check the disk, then try again.</source><translation>Die Einstellungen können nicht geschrieben werden, daher wurde kein Probebild gesendet. Prüfen Sie den Datenträger und versuchen Sie es noch einmal.</translation></message>
<message><source>%1 took it at %2.</source><translation>%1 hat es an %2 angenommen.</translation></message>
<message><source>Nothing answers at %1. A firewall on this computer may block the port; else restart the listener on the dashboard.</source><translation>An %1 antwortet niemand. Vielleicht sperrt eine Firewall auf diesem Computer den Port; sonst starten Sie den Listener in der Übersicht neu.</translation></message>
<message><source>The listener takes no more connections now. Try again in a minute.</source><translation>Der Listener nimmt gerade keine weiteren Verbindungen an. Versuchen Sie es in einer Minute noch einmal.</translation></message>
<message><source>What listens at %1 takes no images. It may be another program: choose another port.</source><translation>Was an %1 lauscht, nimmt keine Bilder an. Vielleicht ist es ein anderes Programm: Wählen Sie einen anderen Port.</translation></message>
<message><source>The listener refused the image (status %1). Check that the disks of the incoming folder and of the images have room.</source><translation>Der Listener hat das Bild abgelehnt (Status %1). Prüfen Sie, ob auf den Datenträgern des Eingangsordners und der Bilder Platz ist.</translation></message>
<message><source>The connection to %1 was cut. Look into the log for why.</source><translation>Die Verbindung zu %1 wurde getrennt. Das Protokoll sagt, warum.</translation></message>
<message><source>%1 didn't answer in time. The disk of the incoming folder may be slow or away.</source><translation>%1 hat nicht rechtzeitig geantwortet. Vielleicht ist der Datenträger des Eingangsordners langsam oder nicht da.</translation></message>
<message><source>A part of Quorin Gateway that sends the sample can't run. Install it anew.</source><translation>Ein Teil von Quorin Gateway, der das Probebild sendet, kann nicht ausgeführt werden. Installieren Sie es neu.</translation></message>
<message><source>It stands in the index of this computer.</source><translation>Es steht im Index dieses Computers.</translation></message>
<message><source>It was taken, but it isn't here. Another program may listen on this port.</source><translation>Es wurde angenommen, ist aber nicht hier. Vielleicht lauscht ein anderes Programm an diesem Port.</translation></message>
<message><source>It waits in the incoming folder. The disk of the images may be full or away; the log says why.</source><translation>Es wartet im Eingangsordner. Vielleicht ist der Datenträger der Bilder voll oder nicht da; das Protokoll sagt, warum.</translation></message>
<message><source>Nobody is signed in. Images are received and kept; sign in and they are uploaded.</source><translation>Niemand ist angemeldet. Bilder werden empfangen und aufbewahrt; melden Sie sich an, dann werden sie hochgeladen.</translation></message>
<message><source>The cloud took it.</source><translation>Die Cloud hat es angenommen.</translation></message>
<message><source>It was deleted here meanwhile.</source><translation>Es wurde hier inzwischen gelöscht.</translation></message>
<message><source>Its turn hasn't come: other images go first. The dashboard shows how far they are.</source><translation>Es ist noch nicht an der Reihe: Andere Bilder gehen vor. Die Übersicht zeigt, wie weit sie sind.</translation></message>
<message><source>A query finds it.</source><translation>Eine Abfrage findet es.</translation></message>
<message><source>The query failed: %1</source><translation>Die Abfrage ist fehlgeschlagen: %1</translation></message>
<message><source>The cloud took it, but doesn't find it yet. It may need more time.</source><translation>Die Cloud hat es angenommen, findet es aber noch nicht. Vielleicht braucht sie mehr Zeit.</translation></message>
<message><source>Nothing of it is left, here or in the cloud.</source><translation>Nichts davon ist übrig, weder hier noch in der Cloud.</translation></message>
<message><source>Nothing of it is left here. It never went to the cloud.</source><translation>Hier ist nichts davon übrig. In die Cloud ist es nie gelangt.</translation></message>
<message><source>It isn't recorded yet. It is deleted as soon as it is.</source><translation>Es ist noch nicht verzeichnet. Es wird gelöscht, sobald es das ist.</translation></message>
<message><source>It can't be deleted here now. It is tried again by itself.</source><translation>Es kann hier gerade nicht gelöscht werden. Das wird von selbst noch einmal versucht.</translation></message>
<message><source>It is deleted here. Should the upload under way carry it, it is deleted in the cloud afterwards.</source><translation>Hier ist es gelöscht. Falls es der laufende Upload mitnimmt, wird es danach in der Cloud gelöscht.</translation></message>
<message><source>It is deleted here. Should it be in the cloud, it is deleted there once somebody is signed in.</source><translation>Hier ist es gelöscht. Falls es in der Cloud ist, wird es dort gelöscht, sobald jemand angemeldet ist.</translation></message>
<message><source>There is nothing to delete.</source><translation>Es gibt nichts zu löschen.</translation></message>
<message><source>Stopped.</source><translation>Angehalten.</translation></message>
<message><source>Not tried.</source><translation>Nicht versucht.</translation></message>
<message><source>It is deleted here. If the cloud has it, it isn't deleted there yet: %1 It is tried again by itself; else delete the study of TEST QUORIN GATEWAY there.</source><translation>Hier ist es gelöscht. Hat die Cloud es, ist es dort noch nicht gelöscht: %1 Es wird von selbst wieder versucht; sonst löschen Sie dort die Studie von TEST QUORIN GATEWAY.</translation></message>
<message><source>Nothing of it is left here, and nothing of it is in the cloud now. Should it show up there within a day, it is deleted then.</source><translation>Hier ist nichts mehr davon, und in der Cloud zurzeit auch nicht. Taucht es dort binnen eines Tages auf, wird es dann gelöscht.</translation></message>
</context>
<context><name>SetupWizard</name>
<message><source>Auto-delete in days must be a number between 1 and 3650.</source><translation>Für das Löschen nach Tagen ist eine Zahl von 1 bis 3650 nötig.</translation></message>
<message><source>Auto-delete in months must be a number between 1 and 120.</source><translation>Für das Löschen nach Monaten ist eine Zahl von 1 bis 120 nötig.</translation></message>
<message><source>Could not access the selected folder with sandbox permissions.</source><translation>Der gewählte Ordner kann mit den Rechten dieses Programms nicht betreten werden.</translation></message>
<message><source>Could not create or validate a folder permission bookmark.</source><translation>Der Ordner kann nicht gemerkt oder nicht wiedergefunden werden.</translation></message>
<message><source>Selected folder is not writable. Choose a different folder or restore defaults.</source><translation>In den gewählten Ordner kann nicht geschrieben werden. Wählen Sie einen anderen Ordner oder die Vorgaben.</translation></message>
<message><source>Selected folder lies on a volume that can't sync folders, so that no received image would be safe there. Choose a folder on another volume.</source><translation>Der gewählte Ordner liegt auf einem Datenträger, der Ordner nicht sichern kann, sodass dort kein empfangenes Bild sicher wäre. Wählen Sie einen Ordner auf einem anderen Datenträger.</translation></message>
<message><source>Welcome</source><translation>Willkommen</translation></message>
<message><source>DIMSE Listener</source><translation>DIMSE-Listener</translation></message>
<message><source>Local Files</source><translation>Lokale Dateien</translation></message>
<message><source>Quorin Account</source><translation>Quorin-Konto</translation></message>
<message><source>Summary</source><translation>Überblick</translation></message>
<message><source>Introduction</source><translation>Einführung</translation></message>
<message><source>Network endpoint</source><translation>Netzwerkadresse</translation></message>
<message><source>Storage and retention</source><translation>Ablage und Aufbewahrung</translation></message>
<message><source>Sign in</source><translation>Anmelden</translation></message>
<message><source>Review and apply</source><translation>Prüfen und anwenden</translation></message>
<message><source>This guided setup prepares Quorin Gateway for reliable local and cloud operation.</source><translation>Diese Einrichtung bereitet Quorin Gateway Schritt für Schritt auf einen zuverlässigen Betrieb vor, lokal und mit der Cloud.</translation></message>
<message><source>Configure your DICOM DIMSE listener identity, address, and local network visibility.</source><translation>Legen Sie Namen, Adresse und Sichtbarkeit Ihres DICOM-DIMSE-Listeners im lokalen Netzwerk fest.</translation></message>
<message><source>Choose where incoming files are stored and how synced files are retained locally.</source><translation>Wählen Sie, wo eingehende Dateien abgelegt und wie lange übertragene Dateien lokal aufbewahrt werden.</translation></message>
<message><source>Sign in now if available. You can also skip and continue.</source><translation>Melden Sie sich an, wenn Sie schon können. Sie können das auch überspringen.</translation></message>
<message><source>Review all settings that will be applied before finishing setup.</source><translation>Prüfen Sie alle Einstellungen, die am Ende der Einrichtung angewendet werden.</translation></message>
<message><source>You can sign in later from the tray menu or Preferences.</source><translation>Sie können sich später über das Statusmenü oder die Einstellungen anmelden.</translation></message>
<message><source>The sign-in that you entered wasn't used. Go back to sign in with it, or sign in later from the tray menu or Preferences.</source><translation>Die eingegebene Anmeldung wurde nicht benutzt. Gehen Sie zurück, um sich mit ihr anzumelden, oder melden Sie sich später über das Statusmenü oder die Einstellungen an.</translation></message>
<message><source>Enter both email and password to sign in.</source><translation>Geben Sie zum Anmelden E-Mail-Adresse und Passwort ein.</translation></message>
<message><source>Sign in failed.</source><translation>Die Anmeldung ist fehlgeschlagen.</translation></message>
<message><source>Quorin Cloud Terms &amp; Conditions accepted.</source><translation>Die Nutzungsbedingungen von Quorin Cloud sind angenommen.</translation></message>
<message><source>Quorin Cloud Terms &amp; Conditions were declined. You have been signed out.</source><translation>Die Nutzungsbedingungen von Quorin Cloud wurden abgelehnt. Sie sind abgemeldet.</translation></message>
<message><source>Resolve highlighted issues before continuing.</source><translation>Beheben Sie zuerst, was hervorgehoben ist.</translation></message>
<message><source>Setup is being applied already.</source><translation>Die Einrichtung wird bereits angewendet.</translation></message>
<message><source>Enter a valid retention value before finishing setup.</source><translation>Geben Sie eine gültige Aufbewahrungsdauer ein, bevor Sie die Einrichtung beenden.</translation></message>
<message><source>Will be formatted as: %1</source><translation>Wird zu: %1</translation></message>
<message><source>Could not find a free port. Close other apps using DICOM ports and try again.</source><translation>Es wurde kein freier Port gefunden. Schließen Sie andere Programme, die DICOM-Ports benutzen, und versuchen Sie es erneut.</translation></message>
<message><source>Could not save folder permissions. Choose a different folder.</source><translation>Der Ordner kann nicht gemerkt werden. Wählen Sie einen anderen Ordner.</translation></message>
<message><source>The settings could not be written.</source><translation>Die Einstellungen konnten nicht gespeichert werden.</translation></message>
<message><source>AE Title is required.</source><translation>Ein AE-Titel ist nötig.</translation></message>
<message><source>AE Title must include at least one letter or number.</source><translation>Der AE-Titel muss mindestens einen Buchstaben oder eine Ziffer enthalten.</translation></message>
<message><source>Port must be a number between 1 and 65535.</source><translation>Der Port muss eine Zahl von 1 bis 65535 sein.</translation></message>
<message><source>Port %1 is already in use by another process.</source><translation>Port %1 wird schon von einem anderen Programm benutzt.</translation></message>
<message><source>Port %1 needs rights that this user doesn't have; choose one from 1024 up.</source><translation>Für Port %1 fehlen diesem Benutzer die Rechte; wählen Sie einen ab 1024.</translation></message>
<message><source>Port %1 can't be listened on: this machine doesn't have the address to bind.</source><translation>Auf Port %1 kann nicht empfangen werden: Dieser Rechner hat die zu bindende Adresse nicht.</translation></message>
<message><source>Timeout must be a number between 1 and 600.</source><translation>Die Wartezeit muss eine Zahl von 1 bis 600 sein.</translation></message>
<message><source>Port availability has not been verified yet.</source><translation>Ob der Port frei ist, wurde noch nicht geprüft.</translation></message>
<message><source>Checking whether port %1 is available...</source><translation>Prüfe, ob Port %1 frei ist …</translation></message>
<message><source>AE Title is valid.</source><translation>Der AE-Titel ist gültig.</translation></message>
<message><source>Port format is invalid.</source><translation>Der Port ist keine gültige Zahl.</translation></message>
<message><source>Port %1 is available.</source><translation>Port %1 ist frei.</translation></message>
<message><source>Using default incoming folder.</source><translation>Der vorgegebene Eingangsordner wird benutzt.</translation></message>
<message><source>Bookmark is valid for %1.</source><translation>%1 ist gemerkt und wird wiedergefunden.</translation></message>
<message><source>Default incoming folder will be used.</source><translation>Es wird in den vorgegebenen Eingangsordner geschrieben.</translation></message>
<message><source>Selected folder is writable.</source><translation>In den gewählten Ordner kann geschrieben werden.</translation></message>
<message><source>Resolve blocking listener or local file issues before finishing setup.</source><translation>Beheben Sie zuerst, was am Listener oder an den lokalen Dateien im Weg steht.</translation></message>
<message><source>Listener configuration is ready to start.</source><translation>Der Listener kann so gestartet werden.</translation></message>
<message><source>Account is connected.</source><translation>Das Konto ist verbunden.</translation></message>
<message><source>Not connected. You can finish setup and sign in later.</source><translation>Nicht verbunden. Sie können die Einrichtung beenden und sich später anmelden.</translation></message>
<message><source>Never</source><translation>Nie</translation></message>
<message><source>Days (value not set)</source><translation>Tage (ohne Zahl)</translation></message>
<message><source>%1 day(s)</source><translation>%1 Tag(e)</translation></message>
<message><source>Months (value not set)</source><translation>Monate (ohne Zahl)</translation></message>
<message><source>%1 month(s)</source><translation>%1 Monat(e)</translation></message>
<message><source>Not signed in</source><translation>Nicht angemeldet</translation></message>
<message><source>Signed in</source><translation>Angemeldet</translation></message>
<message><source>AE Title</source><translation>AE-Titel</translation></message>
<message><source>Port Availability</source><translation>Verfügbarkeit des Ports</translation></message>
<message><source>Folder Permission Bookmark</source><translation>Zugriff auf den Ordner</translation></message>
<message><source>Folder Writability</source><translation>Schreiben in den Ordner</translation></message>
<message><source>Listener Startup Readiness</source><translation>Startbereitschaft des Listeners</translation></message>
<message><source>Listener Address</source><translation>Adresse des Listeners</translation></message>
<message><source>Bonjour</source><translation>Bonjour</translation></message>
<message><source>Enabled</source><translation>Ein</translation></message>
<message><source>Disabled</source><translation>Aus</translation></message>
<message><source>Incoming Folder</source><translation>Eingangsordner</translation></message>
<message><source>Auto-delete</source><translation>Automatisches Löschen</translation></message>
<message><source>Could not generate PDF output for the setup summary.</source><translation>Aus der Zusammenfassung konnte kein PDF erzeugt werden.</translation></message>
<message><source>Use Next Available Port</source><translation>Nächsten freien Port nehmen</translation></message>
<message><source>Restore Recommended Defaults</source><translation>Vorgaben wiederherstellen</translation></message>
<message><source>Use Default</source><translation>Vorgabe benutzen</translation></message>
<message><source>Check Again</source><translation>Erneut prüfen</translation></message>
<message><source>Open DIMSE Listener</source><translation>Zum DIMSE-Listener</translation></message>
<message><source>Open Local Files</source><translation>Zu den lokalen Dateien</translation></message>
<message><source>Open Quorin Account</source><translation>Zum Quorin-Konto</translation></message>
<message><source>Passed</source><translation>Bestanden</translation></message>
<message><source>Warning</source><translation>Warnung</translation></message>
<message><source>Failed</source><translation>Fehlgeschlagen</translation></message>
<message><source>Checking</source><translation>Wird geprüft</translation></message>
<message><source>Unavailable</source><translation>Nicht verfügbar</translation></message>
<message><source>PASSED</source><translation>BESTANDEN</translation></message>
<message><source>WARNING</source><translation>WARNUNG</translation></message>
<message><source>FAILED</source><translation>FEHLGESCHLAGEN</translation></message>
<message><source>CHECKING</source><translation>IN PRÜFUNG</translation></message>
<message><source>- None</source><translation>- Keine</translation></message>
<message><source>Quorin Gateway Setup Summary</source><translation>Zusammenfassung der Einrichtung von Quorin Gateway</translation></message>
<message><source>Exported At: %1</source><translation>Exportiert am: %1</translation></message>
<message><source>Settings:</source><translation>Einstellungen:</translation></message>
<message><source>Preflight Checks:</source><translation>Prüfungen vor dem Start:</translation></message>
<message><source>The folder doesn't answer. The disk or network share that holds it may be away; choose a different folder.</source><translation>Der Ordner antwortet nicht. Das Laufwerk oder die Netzwerkfreigabe, auf der er liegt, ist vielleicht nicht erreichbar; wählen Sie einen anderen Ordner.</translation></message>
<message><source>While the folder doesn't answer, nobody knows whether it takes files.</source><translation>Solange der Ordner nicht antwortet, weiß niemand, ob er Dateien annimmt.</translation></message>
<message><source>Checking whether the folder can be used...</source><translation>Prüfen, ob der Ordner sich verwenden lässt …</translation></message>
</context>
<context><name>StatusBarController</name>
<message><source>Quorin Gateway</source><translation>Quorin Gateway</translation></message>
</context>
<context><name>TransferActivity</name>
<message><source>Received</source><translation>Empfangen</translation></message>
<message><source>Sent</source><translation>Gesendet</translation></message>
<message><source>Last 1 hour</source><translation>Letzte Stunde</translation></message>
<message><source>Last 4 hours</source><translation>Letzte 4 Stunden</translation></message>
<message><source>Last 24 hours</source><translation>Letzte 24 Stunden</translation></message>
<message><source>Last 7 days</source><translation>Letzte 7 Tage</translation></message>
<message><source>Last 30 days</source><translation>Letzte 30 Tage</translation></message>
</context>
<context><name>TransferTimeframe</name>
<message><source>Last %1</source><translation>Letzte %1</translation></message>
</context>
<context><name>UpdateBanner</name>
<message><source>Update available: Quorin Gateway %1. Choose Check for Updates…</source><translation>Update verfügbar: Quorin Gateway %1. Suchen Sie nach Updates.</translation></message>
<message><source>Critical update available. Install update now.</source><translation>Dringendes Update verfügbar. Installieren Sie es jetzt.</translation></message>
<message><source>A new Quorin Gateway version is available. Updates install automatically on quit.</source><translation>Eine neue Version von Quorin Gateway ist da. Updates werden beim Beenden installiert.</translation></message>
<message><source>Quorin Gateway has not checked for updates for over 30 days. Please connect to the internet.</source><translation>Quorin Gateway hat seit über 30 Tagen nicht nach Updates gesucht. Verbinden Sie es bitte mit dem Internet.</translation></message>
</context>
<context><name>UpdateSentences</name>
<message><source>The update server %1 can't be reached.</source><translation>Der Aktualisierungsserver %1 ist nicht erreichbar.</translation></message>
<message><source>A secure connection to the update server %1 could not be made.</source><translation>Zum Aktualisierungsserver %1 ließ sich keine sichere Verbindung herstellen.</translation></message>
<message><source>The update server %1 has no update information at the place where it should be.</source><translation>Der Aktualisierungsserver %1 hat an der erwarteten Stelle keine Angaben zu Aktualisierungen.</translation></message>
<message><source>What the update server %1 sent is no update information.</source><translation>Was der Aktualisierungsserver %1 gesendet hat, sind keine Angaben zu Aktualisierungen.</translation></message>
<message><source>The update from %1 isn't signed by the maker of this program, so it isn't installed.</source><translation>Die Aktualisierung von %1 ist nicht vom Hersteller dieses Programms signiert und wird deshalb nicht installiert.</translation></message>
<message><source>What came from %1 isn't the update that its maker signed, so it isn't installed.</source><translation>Was von %1 kam, ist nicht die vom Hersteller signierte Aktualisierung und wird deshalb nicht installiert.</translation></message>
<message><source>There is too little free space in %1 for the update.</source><translation>In %1 ist zu wenig Platz für die Aktualisierung.</translation></message>
<message><source>The update can't be written in %1.</source><translation>Die Aktualisierung kann in %1 nicht geschrieben werden.</translation></message>
<message><source>This system has no program that installs %1.</source><translation>Dieses System hat kein Programm, das %1 installiert.</translation></message>
<message><source>The update from %1 was ended.</source><translation>Die Aktualisierung von %1 wurde beendet.</translation></message>
</context>
<context><name>gateway::browser</name>
<message><source>Synced</source><translation>Synchron</translation></message>
<message><source>Failed</source><translation>Fehler</translation></message>
<message><source>Syncing</source><translation>Wird gesendet</translation></message>
<message><source>Not Synced</source><translation>Nicht synchron</translation></message>
</context>
<context><name>gateway::browser::BrowserWords</name>
<message><source>Patient Name</source><translation>Patientenname</translation></message>
<message><source>Patient ID</source><translation>Patienten-ID</translation></message>
<message><source>Description</source><translation>Beschreibung</translation></message>
<message><source>Modality</source><translation>Modalität</translation></message>
<message><source>Date</source><translation>Datum</translation></message>
<message><source>Time</source><translation>Zeit</translation></message>
<message><source>Accession</source><translation>Accession</translation></message>
<message><source>Images</source><translation>Bilder</translation></message>
<message><source>Study UID</source><translation>Studien-UID</translation></message>
<message><source>Series #</source><translation>Serie Nr.</translation></message>
<message><source>Series UID</source><translation>Serien-UID</translation></message>
<message><source>Synced State</source><translation>Sync-Status</translation></message>
<message><source>Date Acquired</source><translation>Aufnahmedatum</translation></message>
<message><source>Deleted %1 of %2 selected series.</source><translation>%1 von %2 ausgewählten Serien gelöscht.</translation></message>
<message><source>Deleted %1 of %2 selected studies.</source><translation>%1 von %2 ausgewählten Studien gelöscht.</translation></message>
<message><source>This will remove the selected studies from Quorin Cloud. Continue?</source><translation>Die ausgewählten Studien werden aus der Quorin Cloud entfernt. Fortfahren?</translation></message>
<message><source>This will remove the selected series from Quorin Cloud. Continue?</source><translation>Die ausgewählten Serien werden aus der Quorin Cloud entfernt. Fortfahren?</translation></message>
<message><source>This will remove the selected studies from local Quorin Gateway storage. Continue?</source><translation>Die ausgewählten Studien werden aus dem lokalen Speicher von Quorin Gateway entfernt. Fortfahren?</translation></message>
<message><source>This will remove the selected series from local Quorin Gateway storage. Continue?</source><translation>Die ausgewählten Serien werden aus dem lokalen Speicher von Quorin Gateway entfernt. Fortfahren?</translation></message>
<message><source>Quorin Cloud gave no usable answer.</source><translation>Die Quorin Cloud hat keine brauchbare Antwort gegeben.</translation></message>
<message><source>Selected rows do not contain valid Study UID values.</source><translation>Die ausgewählten Zeilen enthalten keine gültigen Studien-UIDs.</translation></message>
<message><source>Selected rows do not contain valid Series UID values.</source><translation>Die ausgewählten Zeilen enthalten keine gültigen Serien-UIDs.</translation></message>
<message><source>No studies selected for deletion.</source><translation>Keine Studien zum Löschen ausgewählt.</translation></message>
<message><source>No series selected for deletion.</source><translation>Keine Serien zum Löschen ausgewählt.</translation></message>
<message><source>Failed to delete the selected series.</source><translation>Die ausgewählten Serien konnten nicht gelöscht werden.</translation></message>
<message><source>Failed to delete the selected studies.</source><translation>Die ausgewählten Studien konnten nicht gelöscht werden.</translation></message>
<message><source>Stopped.</source><translation>Angehalten.</translation></message>
<message><source>%1 failed.</source><translation>%1 fehlgeschlagen.</translation></message>
<message><source>Last error: %1</source><translation>Letzter Fehler: %1</translation></message>
<message><source>Delete Selected Series? (1/3)</source><translation>Ausgewählte Serien löschen? (1/3)</translation></message>
<message><source>Delete Selected Studies? (1/3)</source><translation>Ausgewählte Studien löschen? (1/3)</translation></message>
<message numerus="yes"><source>You selected %n series. Continue to the next confirmation.</source><translation><numerusform>Sie haben %n Serie ausgewählt. Weiter zur nächsten Bestätigung.</numerusform><numerusform>Sie haben %n Serien ausgewählt. Weiter zur nächsten Bestätigung.</numerusform></translation></message>
<message><source>You selected 1 study. Continue to the next confirmation.</source><translation>Sie haben 1 Studie ausgewählt. Weiter zur nächsten Bestätigung.</translation></message>
<message numerus="yes"><source>You selected %n studies. Continue to the next confirmation.</source><translation><numerusform>Sie haben %n Studie ausgewählt. Weiter zur nächsten Bestätigung.</numerusform><numerusform>Sie haben %n Studien ausgewählt. Weiter zur nächsten Bestätigung.</numerusform></translation></message>
<message><source>Continue</source><translation>Weiter</translation></message>
<message><source>Delete Selected Series? (2/3)</source><translation>Ausgewählte Serien löschen? (2/3)</translation></message>
<message><source>Delete Selected Studies? (2/3)</source><translation>Ausgewählte Studien löschen? (2/3)</translation></message>
<message><source>Final Confirmation (3/3)</source><translation>Letzte Bestätigung (3/3)</translation></message>
<message numerus="yes"><source>This action is permanent. Delete %n selected series now?</source><translation><numerusform>Das lässt sich nicht rückgängig machen. %n ausgewählte Serie jetzt löschen?</numerusform><numerusform>Das lässt sich nicht rückgängig machen. %n ausgewählte Serien jetzt löschen?</numerusform></translation></message>
<message><source>This action is permanent. Delete 1 selected study now?</source><translation>Das lässt sich nicht rückgängig machen. 1 ausgewählte Studie jetzt löschen?</translation></message>
<message numerus="yes"><source>This action is permanent. Delete %n selected studies now?</source><translation><numerusform>Das lässt sich nicht rückgängig machen. %n ausgewählte Studie jetzt löschen?</numerusform><numerusform>Das lässt sich nicht rückgängig machen. %n ausgewählte Studien jetzt löschen?</numerusform></translation></message>
<message><source>Delete</source><translation>Löschen</translation></message>
<message><source>Images not in Quorin Cloud: %L1, of %L2 of the selected series. They will be lost.</source><translation>Bilder, die nicht in der Quorin Cloud sind: %L1, von %L2 der ausgewählten Serien. Sie gehen verloren.</translation></message>
<message><source>Images not in Quorin Cloud: %L1, of %L2 of the selected studies. They will be lost.</source><translation>Bilder, die nicht in der Quorin Cloud sind: %L1, von %L2 der ausgewählten Studien. Sie gehen verloren.</translation></message>
<message><source>The index of this computer can't be read, so nobody can tell what would be lost. Nothing was deleted.</source><translation>Der Index dieses Computers lässt sich nicht lesen, und niemand kann sagen, was verloren ginge. Nichts wurde gelöscht.</translation></message>
<message><source>Copies on this computer stay.</source><translation>Kopien auf diesem Computer bleiben.</translation></message>
<message><source>The index of this computer can't be written, so its copies might not stay.</source><translation>Der Index dieses Computers lässt sich nicht schreiben, und seine Kopien blieben vielleicht nicht.</translation></message>
<message><source>What is in Quorin Cloud stays there.</source><translation>Was in der Quorin Cloud ist, bleibt dort.</translation></message>
<message><source>No Quorin Cloud studies found for the current filters.</source><translation>Keine Quorin-Cloud-Studien für die aktuellen Filter gefunden.</translation></message>
<message><source>No Quorin Cloud series found.</source><translation>Keine Quorin-Cloud-Serien gefunden.</translation></message>
<message><source>No local studies found.</source><translation>Keine lokalen Studien gefunden.</translation></message>
<message><source>No local series found.</source><translation>Keine lokalen Serien gefunden.</translation></message>
<message><source>Sign in to load Quorin Cloud series.</source><translation>Melden Sie sich an, um Quorin-Cloud-Serien zu laden.</translation></message>
<message><source>Sign in to load Quorin Cloud studies.</source><translation>Melden Sie sich an, um Quorin-Cloud-Studien zu laden.</translation></message>
<message><source>Files: %L1. %2</source><translation>Dateien: %L1. %2</translation></message>
</context>
<context><name>gateway::shell::AccountPage</name>
<message><source>Sign in now</source><translation>Jetzt anmelden</translation></message>
<message><source>Skip for now</source><translation>Vorerst überspringen</translation></message>
<message><source>Checking Quorin Cloud Terms &amp; Conditions…</source><translation>Die Nutzungsbedingungen von Quorin Cloud werden geprüft …</translation></message>
<message><source>Use Different Account</source><translation>Anderes Konto benutzen</translation></message>
<message><source>Email</source><translation>E-Mail</translation></message>
<message><source>Password</source><translation>Passwort</translation></message>
<message><source>Signing in is optional for setup completion. You can sign in later from the tray menu or Preferences.</source><translation>Für die Einrichtung ist keine Anmeldung nötig. Sie können sich später über das Statusmenü oder die Einstellungen anmelden.</translation></message>
<message><source>Need a Quorin Account? Create one in Quorin Lens on the Mac App Store.</source><translation>Sie brauchen ein Quorin-Konto? Legen Sie es in Quorin Lens aus dem Mac App Store an.</translation></message>
<message><source>Open Quorin Lens on the Mac App Store</source><translation>Quorin Lens im Mac App Store öffnen</translation></message>
<message><source>Account Connected</source><translation>Konto verbunden</translation></message>
<message><source>Connection Status</source><translation>Verbindung</translation></message>
<message><source>Active Quorin session</source><translation>Quorin-Sitzung aktiv</translation></message>
<message><source>Signed in as</source><translation>Angemeldet als</translation></message>
<message><source>You can continue to Summary, or switch accounts if you signed in with the wrong workspace.</source><translation>Sie können zum Überblick weitergehen oder das Konto wechseln, falls es der falsche Arbeitsbereich ist.</translation></message>
<message><source>Cancel</source><translation>Abbrechen</translation></message>
<message><source>Signed in</source><translation>Angemeldet</translation></message>
<message><source>What was entered in the steps before is asked for again.</source><translation>Was in den Schritten davor eingegeben wurde, wird noch einmal gefragt.</translation></message>
</context>
<context><name>gateway::shell::AccountSettingsPane</name>
<message><source>Account</source><translation>Konto</translation></message>
<message><source>Sign out</source><translation>Abmelden</translation></message>
<message><source>Sign In</source><translation>Anmelden</translation></message>
<message><source>Status</source><translation>Status</translation></message>
<message><source>Sign in to enable Quorin Cloud uploads and account-linked workflows.</source><translation>Melden Sie sich an, um Bilder zu Quorin Cloud zu übertragen und alles zu nutzen, was ein Konto braucht.</translation></message>
<message><source>Email</source><translation>E-Mail</translation></message>
<message><source>Password</source><translation>Passwort</translation></message>
<message><source>Security</source><translation>Sicherheit</translation></message>
<message><source>Update your Quorin account password.</source><translation>Ändern Sie das Passwort Ihres Quorin-Kontos.</translation></message>
<message><source>Change Password…</source><translation>Passwort ändern …</translation></message>
<message><source>Need a Quorin Account? Create one in Quorin Lens on the Mac App Store.</source><translation>Sie brauchen ein Quorin-Konto? Legen Sie es in Quorin Lens aus dem Mac App Store an.</translation></message>
<message><source>Open Quorin Lens on the Mac App Store</source><translation>Quorin Lens im Mac App Store öffnen</translation></message>
<message><source>Manage your Quorin account profile and active session.</source><translation>Profil und Sitzung Ihres Quorin-Kontos.</translation></message>
<message><source>Sign in to connect Quorin Gateway with Quorin Cloud services.</source><translation>Melden Sie sich an, um Quorin Gateway mit Quorin Cloud zu verbinden.</translation></message>
<message><source>Signed out</source><translation>Abgemeldet</translation></message>
<message><source>No account is currently authenticated.</source><translation>Zurzeit ist niemand angemeldet.</translation></message>
<message><source>Session ended</source><translation>Sitzung beendet</translation></message>
<message><source>Signed in</source><translation>Angemeldet</translation></message>
<message><source>Images are still received and kept.</source><translation>Bilder werden weiter empfangen und bleiben erhalten.</translation></message>
<message><source>Cancel</source><translation>Abbrechen</translation></message>
<message><source>Try the Archive Out</source><translation>Archiv ausprobieren</translation></message>
<message><source>How this gateway signs in at its archive.</source><translation>Wie dieses Gateway sich bei seinem Archiv anmeldet.</translation></message>
</context>
<context><name>gateway::shell::ArchiveForm</name>
<message><source>Show a client certificate, too</source><translation>Dazu ein Client-Zertifikat vorzeigen</translation></message>
<message><source>Cancel</source><translation>Abbrechen</translation></message>
<message><source>Sign In</source><translation>Anmelden</translation></message>
<message><source>Archive</source><translation>Archiv</translation></message>
<message><source>User name and password</source><translation>Benutzername und Passwort</translation></message>
<message><source>Token</source><translation>Token</translation></message>
<message><source>Token from a file</source><translation>Token aus einer Datei</translation></message>
<message><source>OAuth 2.0, by a client and its secret</source><translation>OAuth 2.0, mit Client und Geheimnis</translation></message>
<message><source>OAuth 2.0, by a code on another device</source><translation>OAuth 2.0, mit Code auf anderem Gerät</translation></message>
<message><source>Client certificate alone</source><translation>Nur ein Client-Zertifikat</translation></message>
<message><source>None</source><translation>Keine</translation></message>
<message><source>Way of signing in</source><translation>Art der Anmeldung</translation></message>
<message><source>User name</source><translation>Benutzername</translation></message>
<message><source>Password</source><translation>Passwort</translation></message>
<message><source>File of the token</source><translation>Datei des Tokens</translation></message>
<message><source>Its whole path. It is read again when it changes.</source><translation>Der ganze Pfad. Sie wird neu gelesen, wenn sie sich ändert.</translation></message>
<message><source>Issuer</source><translation>Aussteller</translation></message>
<message><source>Its web address. What it publishes names the endpoints.</source><translation>Seine Webadresse. Was er veröffentlicht, nennt die Endpunkte.</translation></message>
<message><source>Client ID</source><translation>Client-ID</translation></message>
<message><source>In the header of the request</source><translation>Im Header der Anfrage</translation></message>
<message><source>In the body of the request</source><translation>Im Inhalt der Anfrage</translation></message>
<message><source>As a statement signed by a key</source><translation>Als Erklärung, mit Schlüssel signiert</translation></message>
<message><source>By the client certificate</source><translation>Mit dem Client-Zertifikat</translation></message>
<message><source>How the client shows who it is</source><translation>Wie der Client sich ausweist</translation></message>
<message><source>Client secret</source><translation>Geheimnis des Clients</translation></message>
<message><source>File of the key that signs</source><translation>Datei des Schlüssels, der signiert</translation></message>
<message><source>PEM, without a passphrase.</source><translation>PEM, ohne Passphrase.</translation></message>
<message><source>Scope</source><translation>Scope</translation></message>
<message><source>Audience</source><translation>Audience</translation></message>
<message><source>Token endpoint</source><translation>Token-Endpunkt</translation></message>
<message><source>Only where the issuer publishes none.</source><translation>Nur, wenn der Aussteller keinen veröffentlicht.</translation></message>
<message><source>Device endpoint</source><translation>Geräte-Endpunkt</translation></message>
<message><source>File of the client certificate</source><translation>Datei des Client-Zertifikats</translation></message>
<message><source>File of its key</source><translation>Datei seines Schlüssels</translation></message>
<message><source>Empty where the same file holds both.</source><translation>Leer, wenn eine Datei beides enthält.</translation></message>
<message><source>In use is that of %1, good until %2. It stays while no file is named.</source><translation>In Gebrauch ist das von %1, gültig bis %2. Es bleibt, solange keine Datei genannt wird.</translation></message>
<message><source>PEM, with its chain.</source><translation>PEM, mit seiner Kette.</translation></message>
<message><source>Only where the client was given one.</source><translation>Nur, wenn der Client eines bekommen hat.</translation></message>
<message><source>Images are still received and kept.</source><translation>Bilder werden weiter empfangen und aufbewahrt.</translation></message>
<message><source>Choose…</source><translation>Wählen …</translation></message>
<message><source>Choose: %1</source><translation>Wählen: %1</translation></message>
</context>
<context><name>gateway::shell::ArchiveSignInSheet</name>
<message><source>Sign In</source><translation>Anmelden</translation></message>
<message><source>Close</source><translation>Schließen</translation></message>
<message><source>Sign In Successful</source><translation>Anmeldung erfolgreich</translation></message>
<message><source>You are now signed in as %1.</source><translation>Sie sind jetzt als %1 angemeldet.</translation></message>
<message><source>You are now signed in.</source><translation>Sie sind jetzt angemeldet.</translation></message>
<message><source>Continue</source><translation>Weiter</translation></message>
</context>
<context><name>gateway::shell::ArchiveSteps</name>
<message><source>Name</source><translation>Name</translation></message>
<message><source>Connection</source><translation>Verbindung</translation></message>
<message><source>Sign-in</source><translation>Anmeldung</translation></message>
<message><source>Query</source><translation>Abfrage</translation></message>
<message><source>Store</source><translation>Speichern</translation></message>
<message><source>Find</source><translation>Wiederfinden</translation></message>
<message><source>Read back</source><translation>Zurücklesen</translation></message>
<message><source>Delete</source><translation>Löschen</translation></message>
<message><source>good</source><translation>gut</translation></message>
<message><source>remark</source><translation>Anmerkung</translation></message>
<message><source>failed</source><translation>fehlgeschlagen</translation></message>
<message><source>%1: %2</source><comment>a step, and how it went</comment><translation>%1: %2</translation></message>
</context>
<context><name>gateway::shell::ArchiveTrialPanel</name>
<message><source>Test</source><translation>Testen</translation></message>
<message><source>Looks the archive up, signs in, asks a query, stores a small image of nobody, reads it back and deletes it.</source><translation>Schlägt das Archiv nach, meldet sich an, stellt eine Abfrage, speichert ein kleines Bild von niemandem, liest es zurück und löscht es.</translation></message>
</context>
<context><name>gateway::shell::AttachmentList</name>
<message><source>No files attached.</source><translation>Keine Dateien angehängt.</translation></message>
<message><source>Remove</source><translation>Entfernen</translation></message>
</context>
<context><name>gateway::shell::BrowserPanel</name>
<message><source>Showing %L1 of %L2</source><translation>%L1 von %L2 angezeigt</translation></message>
<message><source>Last refresh: %1</source><translation>Zuletzt aktualisiert: %1</translation></message>
<message><source>%L1 of %L2</source><translation>%L1 von %L2</translation></message>
<message><source>Cancel</source><translation>Abbrechen</translation></message>
<message><source>Show Series</source><translation>Serien anzeigen</translation></message>
<message><source>Copy Cell</source><translation>Zelle kopieren</translation></message>
<message><source>Copy Rows</source><translation>Zeilen kopieren</translation></message>
<message><source>Delete Selected…</source><translation>Auswahl löschen …</translation></message>
<message><source>Cell copied</source><translation>Zelle kopiert</translation></message>
<message><source>Select at most %L1 rows to copy them, or export them.</source><translation>Zum Kopieren höchstens %L1 Zeilen auswählen, oder exportieren.</translation></message>
<message><source>Export This Table?</source><translation>Diese Tabelle exportieren?</translation></message>
<message><source>Choose File…</source><translation>Datei wählen …</translation></message>
<message><source>The file holds names and other data of patients, readable by everyone who gets it.</source><translation>Die Datei enthält Namen und andere Daten von Patienten, lesbar für jeden, der sie bekommt.</translation></message>
<message><source>Exported to %1</source><translation>Exportiert nach %1</translation></message>
<message><source>%1 can't be written.</source><translation>%1 kann nicht geschrieben werden.</translation></message>
<message><source>Export…</source><translation>Exportieren …</translation></message>
<message><source>Delete Selected</source><translation>Auswahl löschen</translation></message>
<message><source>Stop</source><translation>Anhalten</translation></message>
<message><source>Series</source><translation>Serien</translation></message>
<message><source>Studies</source><translation>Studien</translation></message>
<message><source>Search</source><translation>Suchen</translation></message>
<message><source>Delete Selected (Del)</source><translation>Auswahl löschen (Entf)</translation></message>
<message><source>Sign in</source><translation>Anmelden</translation></message>
<message><source>Nothing here matches your search.</source><translation>Nichts hier passt zu Ihrer Suche.</translation></message>
<message><source>All rows are there still.</source><translation>Alle Zeilen sind noch da.</translation></message>
<message><source>Clear Search</source><translation>Suche leeren</translation></message>
<message><source>Search patient, ID, description, accession, modality, study UID…</source><translation>Patient, ID, Beschreibung, Accession, Modalität, Studien-UID suchen …</translation></message>
<message><source>Search series number, description, modality, series UID…</source><translation>Seriennummer, Beschreibung, Modalität, Serien-UID suchen …</translation></message>
<message><source>Search patient name, patient ID, modality, synced state, description, accession, study UID...</source><translation>Patientenname, Patienten-ID, Modalität, Sync-Status, Beschreibung, Accession, Studien-UID suchen ...</translation></message>
<message><source>Search series number, description, modality, synced state, series UID...</source><translation>Seriennummer, Beschreibung, Modalität, Sync-Status, Serien-UID suchen ...</translation></message>
<message><source>Loading Quorin Cloud studies…</source><translation>Quorin-Cloud-Studien werden geladen …</translation></message>
<message><source>Loading Quorin Cloud series…</source><translation>Quorin-Cloud-Serien werden geladen …</translation></message>
<message><source>Loading local studies...</source><translation>Lokale Studien werden geladen ...</translation></message>
<message><source>Loading local series...</source><translation>Lokale Serien werden geladen ...</translation></message>
<message><source>Deleting selected series...</source><translation>Ausgewählte Serien werden gelöscht ...</translation></message>
<message><source>Deleting selected studies...</source><translation>Ausgewählte Studien werden gelöscht ...</translation></message>
<message><source>No query executed yet. Set filters and click Query.</source><translation>Noch keine Abfrage. Filter setzen und auf Abfragen klicken.</translation></message>
<message><source>No Quorin Cloud series loaded yet.</source><translation>Noch keine Quorin-Cloud-Serien geladen.</translation></message>
<message><source>Set filters and click Query to load Quorin Cloud studies.</source><translation>Filter setzen und auf Abfragen klicken, um Quorin-Cloud-Studien zu laden.</translation></message>
<message><source>%L1 selected</source><translation>%L1 ausgewählt</translation></message>
<message><source>%1, %L2 of them hidden by the search</source><translation>%1, davon %L2 durch die Suche verborgen</translation></message>
<message><source>Rows copied: %L1</source><translation>Kopierte Zeilen: %L1</translation></message>
<message><source>Rows to be written to a CSV file: %L1</source><translation>Zeilen, die in eine CSV-Datei geschrieben werden: %L1</translation></message>
<message><source>Try Again</source><translation>Erneut versuchen</translation></message>
<message><source>What is there is not known.</source><translation>Was dort ist, ist nicht bekannt.</translation></message>
<message><source>Images have come in since you were asked.</source><translation>Seit der Frage sind Bilder eingetroffen.</translation></message>
<message><source>Hidden by the search: %L1 of the selected rows.</source><translation>Durch die Suche verborgen: %L1 der ausgewählten Zeilen.</translation></message>
</context>
<context><name>gateway::shell::BrowserTableModel</name>
<message><source>Show the series of this study</source><translation>Serien dieser Studie anzeigen</translation></message>
<message><source>Details</source><translation>Details</translation></message>
</context>
<context><name>gateway::shell::BugReportWindow</name>
<message><source>Issue is reproducible</source><translation>Das Problem lässt sich wiederholen</translation></message>
<message><source>Submit</source><translation>Absenden</translation></message>
<message><source>Report a Bug</source><translation>Fehler melden</translation></message>
<message><source>Issue Details</source><translation>Zum Problem</translation></message>
<message><source>Description</source><translation>Beschreibung</translation></message>
<message><source>Close</source><translation>Schließen</translation></message>
<message><source>Failed to Send</source><translation>Senden gescheitert</translation></message>
<message><source>Email Support</source><translation>Support anschreiben</translation></message>
<message><source>Happened during import</source><translation>Beim Importieren aufgetreten</translation></message>
<message><source>Happened during opening</source><translation>Beim Öffnen aufgetreten</translation></message>
<message><source>Attachments are required for import/opening issues.</source><translation>Für Probleme beim Importieren oder Öffnen werden Dateien gebraucht.</translation></message>
<message><source>Choose files</source><translation>Dateien wählen</translation></message>
<message><source>Add a support bundle</source><translation>Ein Diagnosepaket beifügen</translation></message>
<message><source>Read It</source><translation>Lesen</translation></message>
<message><source>Save…</source><translation>Sichern…</translation></message>
<message><source>Please include steps to reproduce and expected behavior.</source><translation>Beschreiben Sie bitte die Schritte bis zum Problem und was Sie erwartet haben.</translation></message>
<message><source>Leave out what could name a patient.</source><translation>Lassen Sie weg, was einen Patienten nennen könnte.</translation></message>
<message><source>Attachments</source><translation>Anhänge</translation></message>
<message><source>Support Bundle</source><translation>Diagnosepaket</translation></message>
<message><source>Versions, figures, findings, settings and the latest log, without names of patients, people and places. Read all of it before it leaves this computer.</source><translation>Versionen, Zahlen, Befunde, Einstellungen und das letzte Protokoll, ohne Namen von Patienten, Personen und Orten. Lesen Sie alles, bevor es diesen Computer verlässt.</translation></message>
<message><source>It can't be saved: %1</source><translation>Es kann nicht gesichert werden: %1</translation></message>
<message><source>Saved to %1</source><translation>Gesichert in %1</translation></message>
<message><source>Being put together…</source><translation>Wird zusammengestellt…</translation></message>
<message><source>Unknown error.</source><translation>Unbekannter Fehler.</translation></message>
<message><source>Bug Report Sent</source><translation>Fehlerbericht gesendet</translation></message>
<message><source>Report has been sent successfully.</source><translation>Der Bericht ist angekommen.</translation></message>
</context>
<context><name>gateway::shell::BundleSheet</name>
<message><source>Support Bundle</source><translation>Diagnosepaket</translation></message>
<message><source>Content of the support bundle</source><translation>Inhalt des Diagnosepakets</translation></message>
<message><source>Close</source><translation>Schließen</translation></message>
</context>
<context><name>gateway::shell::Button</name>
<message><source>Busy</source><translation>Beschäftigt</translation></message>
</context>
<context><name>gateway::shell::CardNotice</name>
<message><source>%1. %2</source><translation>%1. %2</translation></message>
</context>
<context><name>gateway::shell::CategoryList</name>
<message><source>Categories</source><translation>Kategorien</translation></message>
<message><source>Account</source><translation>Konto</translation></message>
<message><source>Listener Settings</source><translation>Listener-Einstellungen</translation></message>
<message><source>Quorin Cloud Settings</source><translation>Cloud-Einstellungen</translation></message>
</context>
<context><name>gateway::shell::CloudChoiceRow</name>
<message><source>Images go to: %1</source><translation>Bilder gehen an: %1</translation></message>
<message><source>The command line or the environment names it.</source><translation>Die Befehlszeile oder die Umgebung nennt die Adresse.</translation></message>
<message><source>Change…</source><translation>Ändern …</translation></message>
<message><source>Change where images go</source><translation>Ändern, wohin Bilder gehen</translation></message>
</context>
<context><name>gateway::shell::CloudChoiceSheet</name>
<message><source>Where Images Go</source><translation>Wohin Bilder gehen</translation></message>
<message><source>Save and Restart</source><translation>Sichern und neu starten</translation></message>
<message><source>What stands there</source><translation>Was dort steht</translation></message>
<message><source>Address</source><translation>Adresse</translation></message>
<message><source>Quorin Gateway starts anew for that; modalities are refused for some seconds.</source><translation>Quorin Gateway startet dafür neu; Modalitäten werden einige Sekunden lang abgewiesen.</translation></message>
<message><source>Images that wait go to the new address; those that were sent stay where they are.</source><translation>Wartende Bilder gehen an die neue Adresse; gesendete bleiben, wo sie sind.</translation></message>
<message><source>Sign in there afterwards.</source><translation>Melden Sie sich dort danach an.</translation></message>
<message><source>Cancel</source><translation>Abbrechen</translation></message>
<message><source>The root of its DICOMweb services, such as https://archive.example/dicom-web.</source><translation>Die Wurzel seiner DICOMweb-Dienste, etwa https://archive.example/dicom-web.</translation></message>
</context>
<context><name>gateway::shell::CloudStudiesScreen</name>
<message><source>Quorin Cloud Studies</source><translation>Quorin-Cloud-Studien</translation></message>
</context>
<context><name>gateway::shell::DashboardHeader</name>
<message><source>View Logs</source><translation>Protokoll</translation></message>
<message><source>Preferences</source><translation>Einstellungen</translation></message>
<message><source>Manual Upload</source><translation>Von Hand hochladen</translation></message>
<message><source>Preferences (Ctrl+,)</source><translation>Einstellungen (Strg+,)</translation></message>
<message><source>Import files or folders from this computer</source><translation>Dateien oder Ordner von diesem Rechner einlesen</translation></message>
<message><source>Transfer event logs</source><translation>Übertragungsprotokoll</translation></message>
</context>
<context><name>gateway::shell::DashboardSidebar</name>
<message><source>Dashboard</source><translation>Übersicht</translation></message>
<message><source>Logs</source><translation>Protokoll</translation></message>
</context>
<context><name>gateway::shell::DashboardView</name>
<message><source>Menu</source><translation>Menü</translation></message>
</context>
<context><name>gateway::shell::DeviceCodePanel</name>
<message><source>To let this gateway in, open this page on any device and enter the code:</source><translation>Um dieses Gateway einzulassen, öffnen Sie diese Seite auf irgendeinem Gerät und geben Sie den Code ein:</translation></message>
<message><source>Open Page</source><translation>Seite öffnen</translation></message>
<message><source>Copy Code</source><translation>Code kopieren</translation></message>
<message><source>Cancel Sign-In</source><translation>Anmeldung abbrechen</translation></message>
<message><source>The code is good for %1:%2 more.</source><translation>Der Code gilt noch %1:%2.</translation></message>
</context>
<context><name>gateway::shell::DimseImportCard</name>
<message><source>Open Local Studies</source><translation>Lokale Studien öffnen</translation></message>
<message><source>Studies</source><translation>Studien</translation></message>
<message><source>Series</source><translation>Serien</translation></message>
<message><source>Images</source><translation>Bilder</translation></message>
<message><source>Local storage</source><translation>Lokaler Speicher</translation></message>
<message><source>Received Items</source><translation>Empfangen</translation></message>
<message><source>Used: %1&#10;Free: %2</source><translation>Belegt: %1&#10;Frei: %2</translation></message>
</context>
<context><name>gateway::shell::DownArrowFlowOverlay</name>
<message><source>Images are coming in</source><translation>Bilder kommen an</translation></message>
<message><source>No images are coming in</source><translation>Es kommen keine Bilder an</translation></message>
</context>
<context><name>gateway::shell::DropArea</name>
<message><source>Drop DICOM Files Or Folders</source><translation>DICOM-Dateien oder Ordner hier ablegen</translation></message>
<message><source>Uses the same pipeline as Manual Import</source><translation>Derselbe Weg wie beim Einlesen von Hand</translation></message>
<message><source>Click to choose files or folders</source><translation>Klicken, um Dateien oder Ordner zu wählen</translation></message>
<message><source>Import Started</source><translation>Einlesen begonnen</translation></message>
</context>
<context><name>gateway::shell::Figure</name>
<message><source>%1: %2</source><translation>%1: %2</translation></message>
</context>
<context><name>gateway::shell::GatewayChangePasswordSheet</name>
<message><source>Change Password</source><translation>Passwort ändern</translation></message>
<message><source>Saving password…</source><translation>Passwort wird gespeichert …</translation></message>
<message><source>Cancel</source><translation>Abbrechen</translation></message>
<message><source>OK</source><translation>OK</translation></message>
<message><source>Current Password</source><translation>Bisheriges Passwort</translation></message>
<message><source>New Password</source><translation>Neues Passwort</translation></message>
<message><source>Confirm New Password</source><translation>Neues Passwort bestätigen</translation></message>
<message><source>Your password has been changed successfully.</source><translation>Ihr Passwort wurde geändert.</translation></message>
<message><source>Unable to Change Password</source><translation>Passwort nicht geändert</translation></message>
<message><source>Password Updated</source><translation>Passwort geändert</translation></message>
</context>
<context><name>gateway::shell::GatewaySetupWizardView</name>
<message><source>Close</source><translation>Schließen</translation></message>
<message><source>Back</source><translation>Zurück</translation></message>
<message><source>Continue</source><translation>Weiter</translation></message>
<message><source>Finish Setup</source><translation>Einrichtung beenden</translation></message>
<message><source>Quit</source><translation>Beenden</translation></message>
</context>
<context><name>gateway::shell::GatewaySetupWizardWindow</name>
<message><source>Quorin Gateway Setup</source><translation>Einrichtung von Quorin Gateway</translation></message>
</context>
<context><name>gateway::shell::ImportDialog</name>
<message><source>Import DICOM Files</source><translation>DICOM-Dateien importieren</translation></message>
<message><source>Select files and folders to import DICOM files.</source><translation>Dateien und Ordner wählen, aus denen DICOM-Dateien importiert werden.</translation></message>
<message><source>Import</source><translation>Importieren</translation></message>
<message><source>Enclosing folder</source><translation>Übergeordneter Ordner</translation></message>
<message><source>Enclosing folder (Backspace)</source><translation>Übergeordneter Ordner (Rücktaste)</translation></message>
<message><source>Cancel</source><translation>Abbrechen</translation></message>
<message><source>Files and folders</source><translation>Dateien und Ordner</translation></message>
<message><source>Places</source><translation>Orte</translation></message>
<message><source>Home</source><translation>Persönlicher Ordner</translation></message>
<message><source>Desktop</source><translation>Schreibtisch</translation></message>
<message><source>Documents</source><translation>Dokumente</translation></message>
<message><source>Downloads</source><translation>Downloads</translation></message>
<message><source>This computer</source><translation>Dieser Computer</translation></message>
<message><source>Nothing is selected</source><translation>Nichts ausgewählt</translation></message>
<message><source>1 item is selected</source><translation>1 Objekt ausgewählt</translation></message>
<message><source>%L1 items are selected</source><translation>%L1 Objekte ausgewählt</translation></message>
<message><source>Opening %1…</source><translation>%1 wird geöffnet …</translation></message>
<message><source>Not all in %1 can be shown; import the folder itself.</source><translation>Nicht alles in %1 kann gezeigt werden; importieren Sie den Ordner selbst.</translation></message>
</context>
<context><name>gateway::shell::ImportEntries</name>
<message><source>Name</source><translation>Name</translation></message>
<message><source>Size</source><translation>Größe</translation></message>
<message><source>Date Modified</source><translation>Geändert am</translation></message>
</context>
<context><name>gateway::shell::ImportProgressCard</name>
<message><source>Imports</source><translation>Einlesen</translation></message>
<message><source>Importing</source><translation>Liest ein</translation></message>
<message><source>Stop</source><translation>Anhalten</translation></message>
<message><source>Dismiss</source><translation>Schließen</translation></message>
<message><source>Ended. The logs tell what became of it.</source><translation>Beendet. Was daraus wurde, steht im Protokoll.</translation></message>
</context>
<context><name>gateway::shell::ImportWords</name>
<message><source>less than a minute left</source><translation>noch unter einer Minute</translation></message>
<message><source>%1 min left</source><translation>noch %1 min</translation></message>
<message><source>%1 h %2 min left</source><translation>noch %1 h %2 min</translation></message>
<message><source>%1 not DICOM</source><translation>%1 kein DICOM</translation></message>
<message><source>%1 can't be read</source><translation>%1 nicht lesbar</translation></message>
<message><source>%1 no ordinary file</source><translation>%1 keine gewöhnliche Datei</translation></message>
<message><source>%1 damaged archive</source><translation>%1 beschädigtes Archiv</translation></message>
<message><source>%1 archive with a password</source><translation>%1 Archiv mit Passwort</translation></message>
<message><source>%1 archive too large</source><translation>%1 zu großes Archiv</translation></message>
<message><source>%1 archive in too many archives</source><translation>%1 zu tief verschachteltes Archiv</translation></message>
<message><source>%1 could not be stored here</source><translation>%1 nicht speicherbar</translation></message>
<message><source>Waiting for the import before it</source><translation>Wartet auf das Einlesen davor</translation></message>
<message><source>Looking for files: %1 found</source><translation>Sucht Dateien: %1 gefunden</translation></message>
<message><source>%1 of %2 files</source><translation>%1 von %2 Dateien</translation></message>
<message><source>unpacking an archive</source><translation>packt ein Archiv aus</translation></message>
<message><source>%1/s</source><translation>%1/s</translation></message>
<message><source>Stopped before anything was imported</source><translation>Angehalten, bevor etwas eingelesen war</translation></message>
<message><source>No files found</source><translation>Keine Dateien gefunden</translation></message>
<message><source>No DICOM files were imported</source><translation>Es wurden keine DICOM-Dateien eingelesen</translation></message>
<message><source>Imported %1 of %2 files</source><translation>%1 von %2 Dateien eingelesen</translation></message>
<message><source>%1, then stopped</source><translation>%1, dann angehalten</translation></message>
<message><source>%1: %2</source><translation>%1: %2</translation></message>
<message><source>%1 ends too early</source><translation>%1 endet zu früh</translation></message>
</context>
<context><name>gateway::shell::ListenerCard</name>
<message><source>Start</source><translation>Starten</translation></message>
<message><source>DIMSE Listener</source><translation>DIMSE-Listener</translation></message>
<message><source>State</source><translation>Zustand</translation></message>
<message><source>AE Title</source><translation>AE-Titel</translation></message>
<message><source>Port</source><translation>Port</translation></message>
<message><source>RECEIVING</source><translation>EMPFÄNGT</translation></message>
<message><source>RUNNING</source><translation>LÄUFT</translation></message>
<message><source>STARTING</source><translation>STARTET</translation></message>
<message><source>RESTARTING</source><translation>STARTET NEU</translation></message>
<message><source>FAILED</source><translation>GESCHEITERT</translation></message>
<message><source>STOPPED</source><translation>STEHT</translation></message>
<message><source>Reached at %1</source><translation>Erreichbar unter %1</translation></message>
<message><source>Modalities can't send now</source><translation>Modalitäten können jetzt nicht senden</translation></message>
<message><source>Stop</source><translation>Anhalten</translation></message>
<message><source>Received files set aside: %1. Run quorin-gateway doctor --repair</source><translation>Beiseitegelegte Dateien: %1. Rufen Sie quorin-gateway doctor --repair auf</translation></message>
<message><source>The file store can't be seen; nothing is taken in</source><translation>Die Ablage ist nicht zu sehen; es wird nichts aufgenommen</translation></message>
<message><source>Received images not taken in: %1. Run quorin-gateway doctor</source><translation>Nicht aufgenommene Bilder: %1. Rufen Sie quorin-gateway doctor auf</translation></message>
<message><source>An incoming folder can't be seen. Run quorin-gateway doctor</source><translation>Ein Eingangsordner ist nicht zu sehen. Rufen Sie quorin-gateway doctor auf</translation></message>
</context>
<context><name>gateway::shell::ListenerPage</name>
<message><source>AE Title</source><translation>AE-Titel</translation></message>
<message><source>Port</source><translation>Port</translation></message>
<message><source>Publish listener with Bonjour</source><translation>Listener mit Bonjour bekannt machen</translation></message>
<message><source>Restore Recommended Defaults</source><translation>Vorgaben wiederherstellen</translation></message>
<message><source>Copy</source><translation>Kopieren</translation></message>
<message><source>Checks</source><translation>Prüfungen</translation></message>
<message><source>Connection Settings</source><translation>Verbindung</translation></message>
<message><source>Listener Endpoint</source><translation>Endpunkt des Listeners</translation></message>
<message><source>Listener Address</source><translation>Adresse des Listeners</translation></message>
<message><source>Use this address when registering Quorin Gateway in your modality or PACS configuration.</source><translation>Tragen Sie diese Adresse ein, wenn Sie Quorin Gateway in Ihrer Modalität oder Ihrem PACS anmelden.</translation></message>
<message><source>Static IP Recommendation</source><translation>Feste IP-Adresse</translation></message>
<message><source>Recommended</source><translation>Empfohlen</translation></message>
<message><source>To keep this listener address stable, reserve a static DHCP lease for this Mac in your router.</source><translation>Damit die Adresse des Listeners gleich bleibt, reservieren Sie im Router eine feste DHCP-Adresse für diesen Rechner.</translation></message>
<message><source>In router settings, open DHCP reservation and bind this computer's MAC address to one fixed IP.</source><translation>Öffnen Sie in den Einstellungen des Routers die DHCP-Reservierung und binden Sie die MAC-Adresse dieses Rechners an eine feste IP-Adresse.</translation></message>
<message><source>After reservation, reconnect this device and verify the listener address stays unchanged.</source><translation>Verbinden Sie das Gerät danach neu und prüfen Sie, ob die Adresse des Listeners gleich geblieben ist.</translation></message>
</context>
<context><name>gateway::shell::ListenerSettingsPane</name>
<message><source>Listener Settings</source><translation>Listener-Einstellungen</translation></message>
<message><source>Enable Listener</source><translation>Listener einschalten</translation></message>
<message><source>AE Title</source><translation>AE-Titel</translation></message>
<message><source>Advertise With Bonjour</source><translation>Mit Bonjour ankündigen</translation></message>
<message><source>Choose</source><translation>Wählen</translation></message>
<message><source>Reset to Default</source><translation>Standard wiederherstellen</translation></message>
<message><source>Saving restarts the listener and breaks off transfers under way.</source><translation>Sichern startet den Listener neu und bricht laufende Übertragungen ab.</translation></message>
<message><source>Reload</source><translation>Neu laden</translation></message>
<message><source>Save Changes</source><translation>Änderungen sichern</translation></message>
<message><source>Configure how Quorin Gateway receives local DICOM studies.</source><translation>Wie Quorin Gateway DICOM-Studien aus dem lokalen Netz empfängt.</translation></message>
<message><source>Status</source><translation>Status</translation></message>
<message><source>Connection</source><translation>Verbindung</translation></message>
<message><source>Port</source><translation>Port</translation></message>
<message><source>Timeout (seconds)</source><translation>Zeitlimit (Sekunden)</translation></message>
<message><source>Storage</source><translation>Speicherort</translation></message>
<message><source>Destination Folder</source><translation>Zielordner</translation></message>
<message><source>Nothing has been saved. The listener goes on as before.</source><translation>Nichts wurde gesichert. Der Listener läuft weiter wie bisher.</translation></message>
<message><source>Stopped</source><translation>Angehalten</translation></message>
<message><source>Starting</source><translation>Startet</translation></message>
<message><source>Restarting</source><translation>Startet neu</translation></message>
<message><source>Failed</source><translation>Fehlgeschlagen</translation></message>
<message><source>Listening on Port %1</source><translation>Lauscht auf Port %1</translation></message>
</context>
<context><name>gateway::shell::LocalFilesPage</name>
<message><source>Choose Folder…</source><translation>Ordner wählen …</translation></message>
<message><source>Use Default</source><translation>Vorgabe benutzen</translation></message>
<message><source>Restore Recommended Defaults</source><translation>Vorgaben wiederherstellen</translation></message>
<message><source>Checks</source><translation>Prüfungen</translation></message>
<message><source>Storage Location</source><translation>Ablage</translation></message>
<message><source>Incoming Files Folder</source><translation>Ordner für eingehende Dateien</translation></message>
<message><source>Retention Policy</source><translation>Aufbewahrung</translation></message>
<message><source>Auto-delete synced local files</source><translation>Übertragene Dateien lokal löschen</translation></message>
<message><source>Never</source><translation>Nie</translation></message>
<message><source>Days</source><translation>Tage</translation></message>
<message><source>Months</source><translation>Monate</translation></message>
<message><source>Value</source><translation>Anzahl</translation></message>
<message><source>Only items successfully synced to Quorin Cloud are eligible for automatic deletion.</source><translation>Automatisch gelöscht wird nur, was erfolgreich zu Quorin Cloud übertragen wurde.</translation></message>
<message><source>month(s) after upload</source><translation>Monat(e) nach der Übertragung</translation></message>
<message><source>day(s) after upload</source><translation>Tag(e) nach der Übertragung</translation></message>
</context>
<context><name>gateway::shell::LocalStudiesScreen</name>
<message><source>Local Studies</source><translation>Lokale Studien</translation></message>
<message><source>Failed Only</source><translation>Nur Fehler</translation></message>
<message><source>Refresh</source><translation>Aktualisieren</translation></message>
<message><source>Refresh (F5)</source><translation>Aktualisieren (F5)</translation></message>
<message><source>Send Now</source><translation>Jetzt senden</translation></message>
<message><source>Images of this study that could not be sent: %L1</source><translation>Bilder dieser Studie, die nicht gesendet werden konnten: %L1</translation></message>
</context>
<context><name>gateway::shell::LogDetails</name>
<message><source>Copy Line</source><translation>Zeile kopieren</translation></message>
<message><source>Close details</source><translation>Einzelheiten schließen</translation></message>
<message><source>Log line</source><translation>Protokollzeile</translation></message>
<message><source>This line isn't in its file any more.</source><translation>Diese Zeile steht nicht mehr in ihrer Datei.</translation></message>
<message><source>Time</source><translation>Zeit</translation></message>
<message><source>Correlation</source><translation>Vorgang</translation></message>
<message><source>File</source><translation>Datei</translation></message>
<message><source>Assoc</source><translation>Assoz.</translation></message>
<message><source>Attempt</source><translation>Versuch</translation></message>
<message><source>Size</source><translation>Größe</translation></message>
<message><source>%L1 bytes</source><translation>%L1 Bytes</translation></message>
<message><source>Error %1</source><translation>Fehler %1</translation></message>
<message><source>Log File</source><translation>Protokolldatei</translation></message>
<message><source>Show Life of This Image</source><translation>Verlauf dieses Bildes anzeigen</translation></message>
<message><source>Show Lives of Its Images</source><translation>Verlauf ihrer Bilder anzeigen</translation></message>
<message><source>Action</source><translation>Aktion</translation></message>
<message><source>Outcome</source><translation>Ergebnis</translation></message>
</context>
<context><name>gateway::shell::LogScreen</name>
<message><source>Refresh</source><translation>Aktualisieren</translation></message>
<message><source>Showing %L1 of %L2 logs</source><translation>%L1 von %L2 Einträgen</translation></message>
<message><source>Last refresh: %1</source><translation>Zuletzt gelesen: %1</translation></message>
<message><source>The events below are those of the last successful read.</source><translation>Die Ereignisse unten stammen vom letzten gelungenen Lesen.</translation></message>
<message><source>Could not load logs</source><translation>Protokoll konnte nicht geladen werden</translation></message>
<message><source>Select at most %L1 lines to copy them.</source><translation>Wählen Sie zum Kopieren höchstens %L1 Zeilen.</translation></message>
<message><source>Line copied</source><translation>Zeile kopiert</translation></message>
<message><source>%L1 lines copied</source><translation>%L1 Zeilen kopiert</translation></message>
<message><source>The folder can't be opened: %1</source><translation>Der Ordner lässt sich nicht öffnen: %1</translation></message>
<message><source>Delete All Logs?</source><translation>Alle Protokolle löschen?</translation></message>
<message><source>This permanently removes all local Quorin Gateway transfer log files.</source><translation>Damit werden alle lokalen Übertragungsprotokolle des Quorin Gateway endgültig entfernt.</translation></message>
<message><source>Delete</source><translation>Löschen</translation></message>
<message><source>Cancel</source><translation>Abbrechen</translation></message>
<message><source>Structured receive/send events with strict redaction</source><translation>Ereignisse beim Empfangen und Senden, ohne Namen</translation></message>
<message><source>Search action, hash, correlation, error…</source><translation>Vorgang, Hash, Aktion, Fehler suchen …</translation></message>
<message><source>Reset Filters</source><translation>Filter zurücksetzen</translation></message>
<message><source>Auto-refresh</source><translation>Laufend lesen</translation></message>
<message><source>Delete Logs</source><translation>Protokolle löschen</translation></message>
<message><source>Open Folder</source><translation>Ordner öffnen</translation></message>
<message><source>Refresh (F5)</source><translation>Aktualisieren (F5)</translation></message>
<message><source>Level</source><translation>Stufe</translation></message>
<message><source>Category</source><translation>Bereich</translation></message>
<message><source>No log events match your filters.</source><translation>Kein Ereignis passt zu Ihren Filtern.</translation></message>
<message><source>Search for something else, or show all levels and categories.</source><translation>Suchen Sie etwas anderes oder zeigen Sie alle Stufen und Bereiche.</translation></message>
<message><source>No log events yet</source><translation>Noch keine Ereignisse</translation></message>
<message><source>As soon as images are received or sent, what happens to them is listed here.</source><translation>Sobald Bilder empfangen oder gesendet werden, steht hier, was mit ihnen geschieht.</translation></message>
<message><source>From association to removal: %1</source><translation>Von der Assoziation bis zum Löschen: %1</translation></message>
<message><source>Show All Events</source><translation>Alle Ereignisse anzeigen</translation></message>
<message><source>From association to removal, images: %L1</source><translation>Von der Assoziation bis zum Löschen, Bilder: %L1</translation></message>
</context>
<context><name>gateway::shell::LogTable</name>
<message><source>Log events</source><translation>Protokollereignisse</translation></message>
</context>
<context><name>gateway::shell::LogTableModel</name>
<message><source>Time</source><translation>Zeit</translation></message>
<message><source>Level</source><translation>Stufe</translation></message>
<message><source>Category</source><translation>Bereich</translation></message>
<message><source>Action</source><translation>Aktion</translation></message>
<message><source>Outcome</source><translation>Ergebnis</translation></message>
<message><source>Hash</source><translation>Hash</translation></message>
<message><source>%1 (%2)</source><translation>%1 (%2)</translation></message>
</context>
<context><name>gateway::shell::MoreMenu</name>
<message><source>More</source><translation>Mehr</translation></message>
</context>
<context><name>gateway::shell::NoticeWindow</name>
<message><source>OK</source><translation>OK</translation></message>
</context>
<context><name>gateway::shell::PasswordField</name>
<message><source>Hide password</source><translation>Passwort verbergen</translation></message>
<message><source>Show password</source><translation>Passwort zeigen</translation></message>
</context>
<context><name>gateway::shell::Popover</name>
<message><source>Quorin Gateway</source><translation>Quorin Gateway</translation></message>
</context>
<context><name>gateway::shell::ProfileCard</name>
<message><source>Loading account details…</source><translation>Angaben zum Konto werden geladen …</translation></message>
<message><source>Title</source><translation>Titel</translation></message>
<message><source>First Name</source><translation>Vorname</translation></message>
<message><source>Middle Name</source><translation>Zweiter Vorname</translation></message>
<message><source>Last Name</source><translation>Nachname</translation></message>
<message><source>Suffix</source><translation>Namenszusatz</translation></message>
<message><source>Email</source><translation>E-Mail</translation></message>
<message><source>Phone Number</source><translation>Telefonnummer</translation></message>
<message><source>Primary Workplace</source><translation>Hauptarbeitsplatz</translation></message>
<message><source>Edit Profile</source><translation>Profil bearbeiten</translation></message>
<message><source>Reload</source><translation>Neu laden</translation></message>
<message><source>Cancel</source><translation>Abbrechen</translation></message>
<message><source>Save Changes</source><translation>Änderungen sichern</translation></message>
<message><source>Profile</source><translation>Profil</translation></message>
<message><source>Review and manage your account information.</source><translation>Die Angaben zu Ihrem Konto ansehen und ändern.</translation></message>
<message><source>Personal Information</source><translation>Person</translation></message>
<message><source>Contact</source><translation>Kontakt</translation></message>
<message><source>Workplace</source><translation>Arbeitsplatz</translation></message>
<message><source>Linked Workplaces</source><translation>Verknüpfte Arbeitsplätze</translation></message>
<message><source>Unnamed workplace</source><translation>Arbeitsplatz ohne Namen</translation></message>
<message><source>Default</source><translation>Standard</translation></message>
<message><source>Unable to load account details.</source><translation>Die Angaben zum Konto konnten nicht geladen werden.</translation></message>
<message><source>The profile could not be saved.</source><translation>Das Profil konnte nicht gesichert werden.</translation></message>
<message><source>Images are still received and kept.</source><translation>Bilder werden weiter empfangen und bleiben erhalten.</translation></message>
<message><source>Nothing has been changed at Quorin Cloud.</source><translation>Bei Quorin Cloud wurde nichts geändert.</translation></message>
<message><source>Retry</source><translation>Erneut versuchen</translation></message>
</context>
<context><name>gateway::shell::QueryFilters</name>
<message><source>Query</source><translation>Abfragen</translation></message>
<message><source>Date of Birth</source><translation>Geburtsdatum</translation></message>
<message><source>Study Date</source><translation>Studiendatum</translation></message>
<message><source>Patient Name</source><translation>Patientenname</translation></message>
<message><source>Name</source><translation>Name</translation></message>
<message><source>Patient ID</source><translation>Patienten-ID</translation></message>
<message><source>ID</source><translation>ID</translation></message>
<message><source>Accession Number</source><translation>Accession-Nummer</translation></message>
<message><source>Accession</source><translation>Accession</translation></message>
<message><source>Study Description</source><translation>Studienbeschreibung</translation></message>
<message><source>Description</source><translation>Beschreibung</translation></message>
<message><source>Modality</source><translation>Modalität</translation></message>
<message><source>Referring Physician</source><translation>Zuweisender Arzt</translation></message>
<message><source>Physician</source><translation>Arzt</translation></message>
<message><source>Institution</source><translation>Einrichtung</translation></message>
<message><source>Query Filters</source><translation>Abfragefilter</translation></message>
<message><source>Clear Filters</source><translation>Filter leeren</translation></message>
<message><source>Query (Return in a field)</source><translation>Abfragen (Eingabetaste in einem Feld)</translation></message>
<message><source>Any</source><translation>Beliebig</translation></message>
<message><source>Today</source><translation>Heute</translation></message>
<message><source>Yesterday</source><translation>Gestern</translation></message>
<message><source>Custom</source><translation>Eigenes</translation></message>
</context>
<context><name>gateway::shell::QuorinCloudSettingsPane</name>
<message><source>Quorin Cloud Settings</source><translation>Cloud-Einstellungen</translation></message>
<message><source>Parallel Transfers</source><translation>Parallele Übertragungen</translation></message>
<message><source>Batch Uploads</source><translation>In Stapeln übertragen</translation></message>
<message><source>Compress to JPEG-LS</source><translation>Nach JPEG-LS komprimieren</translation></message>
<message><source>Tune Quorin Cloud transfer behavior for your network and workload.</source><translation>Stimmen Sie die Übertragung zu Quorin Cloud auf Netz und Last ab.</translation></message>
<message><source>Retrieval</source><translation>Abruf</translation></message>
<message><source>Applies to Quorin Cloud upload and retrieval.</source><translation>Gilt für das Übertragen zu Quorin Cloud und den Abruf.</translation></message>
<message><source>Parallel Connection Limit</source><translation>Gleichzeitige Verbindungen</translation></message>
<message><source>Uploads</source><translation>Übertragung</translation></message>
<message><source>Files Per Request</source><translation>Dateien je Anfrage</translation></message>
<message><source>Compression</source><translation>Kompression</translation></message>
<message><source>Subscription Management</source><translation>Abonnements</translation></message>
<message><source>You can manage Quorin Cloud subscriptions in Quorin Lens.</source><translation>Abonnements von Quorin Cloud verwalten Sie in Quorin Lens.</translation></message>
<message><source>Open Quorin Lens on the Mac App Store</source><translation>Quorin Lens im Mac App Store öffnen</translation></message>
<message><source>The settings could not be written.</source><translation>Die Einstellungen konnten nicht gespeichert werden.</translation></message>
<message><source>What is shown is what still counts.</source><translation>Was hier steht, gilt weiterhin.</translation></message>
</context>
<context><name>gateway::shell::QuorinGatewayMenuView</name>
<message><source>Stop Listener</source><translation>Listener anhalten</translation></message>
<message><source>Start Listener</source><translation>Listener starten</translation></message>
<message><source>Stopped</source><translation>Angehalten</translation></message>
<message><source>Starting</source><translation>Startet</translation></message>
<message><source>Restarting</source><translation>Startet neu</translation></message>
<message><source>Failed</source><translation>Gescheitert</translation></message>
<message><source>Receiving on Port %1</source><translation>Empfängt auf Port %1</translation></message>
<message><source>Listening on Port %1</source><translation>Lauscht auf Port %1</translation></message>
<message><source>Open Dashboard</source><translation>Übersicht öffnen</translation></message>
<message><source>Quorin Gateway</source><translation>Quorin Gateway</translation></message>
<message><source>Checking…</source><translation>Prüft …</translation></message>
<message><source>Sign in</source><translation>Anmelden</translation></message>
<message><source>Manage</source><translation>Verwalten</translation></message>
<message><source>Sign out</source><translation>Abmelden</translation></message>
<message><source>Received Images</source><translation>Empfangene Bilder</translation></message>
<message><source>Uploaded Images</source><translation>Hochgeladene Bilder</translation></message>
<message><source>Upload Failures</source><translation>Fehler beim Hochladen</translation></message>
<message><source>Check for Updates…</source><translation>Updates …</translation></message>
<message><source>Preferences…</source><translation>Einstellungen …</translation></message>
<message><source>More</source><translation>Mehr</translation></message>
<message><source>Setup Wizard…</source><translation>Einrichtung …</translation></message>
<message><source>Send feedback</source><translation>Rückmeldung senden</translation></message>
<message><source>Report a bug</source><translation>Fehler melden</translation></message>
<message><source>About Quorin Gateway</source><translation>Über Quorin Gateway</translation></message>
<message><source>Quit Quorin Gateway</source><translation>Quorin Gateway beenden</translation></message>
</context>
<context><name>gateway::shell::QuorinGatewaySettingsView</name>
<message><source>Preferences</source><translation>Einstellungen</translation></message>
<message><source>Select a settings category.</source><translation>Wählen Sie eine Kategorie.</translation></message>
<message><source>Appearance</source><translation>Erscheinungsbild</translation></message>
<message><source>Dark</source><translation>Dunkel</translation></message>
<message><source>Light</source><translation>Hell</translation></message>
<message><source>System</source><translation>System</translation></message>
</context>
<context><name>gateway::shell::ReportAlert</name>
<message><source>OK</source><translation>OK</translation></message>
</context>
<context><name>gateway::shell::SearchField</name>
<message><source>Search</source><translation>Suchen</translation></message>
<message><source>Clear search</source><translation>Suche leeren</translation></message>
</context>
<context><name>gateway::shell::SentItemsCard</name>
<message><source>Speed</source><translation>Tempo</translation></message>
<message><source>Open Quorin Cloud</source><translation>Quorin Cloud öffnen</translation></message>
<message><source>In Progress</source><translation>Offen</translation></message>
<message><source>Uploaded</source><translation>Hochgeladen</translation></message>
<message><source>Failed</source><translation>Fehler</translation></message>
<message><source>Quorin Cloud storage</source><translation>Speicher in der Quorin Cloud</translation></message>
<message><source>Sent Items</source><translation>Gesendet</translation></message>
<message><source>Sign in to load Quorin Cloud storage</source><translation>Melden Sie sich an, um den Speicher der Quorin Cloud zu sehen</translation></message>
<message><source>Used: %1&#10;Free: %2&#10;Total: %3</source><translation>Belegt: %1&#10;Frei: %2&#10;Gesamt: %3</translation></message>
<message><source>Show the studies whose upload failed</source><translation>Studien anzeigen, deren Upload fehlgeschlagen ist</translation></message>
</context>
<context><name>gateway::shell::SentNotice</name>
<message><source>Waiting for a sign-in</source><translation>Wartet auf eine Anmeldung</translation></message>
<message><source>Images are kept here until then.</source><translation>Bis dahin bleiben die Bilder hier.</translation></message>
<message><source>Quorin Cloud can't be reached</source><translation>Quorin Cloud ist nicht erreichbar</translation></message>
<message><source>Images are kept here and sent later.</source><translation>Bilder bleiben hier und werden später gesendet.</translation></message>
<message><source>1 image could not be sent</source><translation>1 Bild ließ sich nicht senden</translation></message>
<message><source>%1 images could not be sent</source><translation>%1 Bilder ließen sich nicht senden</translation></message>
<message><source>Kept here and tried again.</source><translation>Sie bleiben hier und werden wieder versucht.</translation></message>
<message><source>View Logs</source><translation>Protokoll</translation></message>
<message><source>Sending to Quorin Cloud</source><translation>Sendet an Quorin Cloud</translation></message>
<message><source>Waiting to be sent</source><translation>Wartet aufs Senden</translation></message>
<message><source>%1 of %2 images are there.</source><translation>%1 von %2 Bildern sind dort.</translation></message>
<message><source>Everything is uploaded</source><translation>Alles ist hochgeladen</translation></message>
<message><source>Nothing waits here.</source><translation>Hier wartet nichts.</translation></message>
<message><source>Nothing to send yet</source><translation>Noch nichts zu senden</translation></message>
<message><source>Received images are sent on their own.</source><translation>Empfangene Bilder werden von selbst gesendet.</translation></message>
</context>
<context><name>gateway::shell::SeriesSheet</name>
<message><source>Quorin Cloud Series</source><translation>Quorin-Cloud-Serien</translation></message>
<message><source>Local Series</source><translation>Lokale Serien</translation></message>
<message><source>Study: %1</source><translation>Studie: %1</translation></message>
<message><source>Patient: %1 (%2)</source><translation>Patient: %1 (%2)</translation></message>
<message><source>UID: %1</source><translation>UID: %1</translation></message>
<message><source>Refresh</source><translation>Aktualisieren</translation></message>
<message><source>Close</source><translation>Schließen</translation></message>
</context>
<context><name>gateway::shell::SettingsPaneContainer</name>
<message><source>Setup Wizard…</source><translation>Einrichtung …</translation></message>
</context>
<context><name>gateway::shell::SignInSheet</name>
<message><source>Sign In</source><translation>Anmelden</translation></message>
<message><source>Cancel</source><translation>Abbrechen</translation></message>
<message><source>Sign in</source><translation>Anmelden</translation></message>
<message><source>Continue</source><translation>Weiter</translation></message>
<message><source>Received images are sent to this account.</source><translation>Empfangene Bilder werden an dieses Konto gesendet.</translation></message>
<message><source>Email</source><translation>E-Mail</translation></message>
<message><source>Password</source><translation>Passwort</translation></message>
<message><source>You are now signed in as %1.</source><translation>Sie sind jetzt als %1 angemeldet.</translation></message>
<message><source>You are now signed in.</source><translation>Sie sind jetzt angemeldet.</translation></message>
<message><source>Sign In Successful</source><translation>Anmeldung erfolgreich</translation></message>
<message><source>Images are still received and kept. Check your entries and the network, then try again.</source><translation>Bilder werden weiter empfangen und hier aufbewahrt. Prüfen Sie Ihre Eingaben und das Netz und versuchen Sie es noch einmal.</translation></message>
</context>
<context><name>gateway::shell::Skeleton</name>
<message><source>Loading</source><translation>Wird geladen</translation></message>
</context>
<context><name>gateway::shell::StatusCard</name>
<message><source>Refresh</source><translation>Aktualisieren</translation></message>
<message><source>Sign in</source><translation>Anmelden</translation></message>
<message><source>Sign out</source><translation>Abmelden</translation></message>
<message><source>Quorin Cloud Status</source><translation>Quorin Cloud</translation></message>
<message><source>State</source><translation>Zustand</translation></message>
<message><source>READY</source><translation>BEREIT</translation></message>
<message><source>SESSION ENDED</source><translation>SITZUNG BEENDET</translation></message>
<message><source>SIGNED OUT</source><translation>ABGEMELDET</translation></message>
<message><source>PASSWORD REFUSED</source><translation>PASSWORT ABGELEHNT</translation></message>
<message><source>NO SIGN-IN</source><translation>KEINE ANMELDUNG</translation></message>
<message><source>UNREACHABLE</source><translation>NICHT ERREICHBAR</translation></message>
<message><source>CHECKING</source><translation>WIRD GEPRÜFT</translation></message>
</context>
<context><name>gateway::shell::StorageFigures</name>
<message><source>Used</source><translation>Belegt</translation></message>
<message><source>Free</source><translation>Frei</translation></message>
</context>
<context><name>gateway::shell::StorageUsageRing</name>
<message><source>%1%</source><translation>%1 %</translation></message>
<message><source>Used storage</source><translation>Belegter Speicher</translation></message>
</context>
<context><name>gateway::shell::StudyActions</name>
<message><source>Send Now</source><translation>Jetzt senden</translation></message>
<message><source>Show in Folder</source><translation>Im Ordner zeigen</translation></message>
<message><source>Follow in the Log</source><translation>Im Protokoll verfolgen</translation></message>
<message><source>What this study has not sent yet is tried now, as soon as it is its turn.</source><translation>Was von dieser Studie noch nicht gesendet ist, wird jetzt versucht, sobald es an der Reihe ist.</translation></message>
<message><source>This study has no files here.</source><translation>Von dieser Studie gibt es hier keine Dateien.</translation></message>
<message><source>The folder can't be opened: %1</source><translation>Der Ordner lässt sich nicht öffnen: %1</translation></message>
<message><source>The log shows %L1 of its images, those that failed first.</source><translation>Das Protokoll zeigt %L1 ihrer Bilder, die gescheiterten zuerst.</translation></message>
</context>
<context><name>gateway::shell::SummaryPage</name>
<message><source>Start when I sign in to this computer</source><translation>Starten, wenn ich mich an diesem Rechner anmelde</translation></message>
<message><source>Export PDF</source><translation>PDF exportieren</translation></message>
<message><source>Settings to be Applied</source><translation>Diese Einstellungen werden angewendet</translation></message>
<message><source>Review these values before finishing setup.</source><translation>Prüfen Sie die Werte, bevor Sie die Einrichtung beenden.</translation></message>
<message><source>Preflight Checks</source><translation>Prüfungen vor dem Start</translation></message>
<message><source>When you click Finish Setup, Quorin Gateway saves these settings and restarts the listener.</source><translation>Mit „Einrichtung beenden“ speichert Quorin Gateway diese Einstellungen und startet den Listener neu.</translation></message>
<message><source>Ready to Apply</source><translation>Bereit zum Anwenden</translation></message>
<message><source>Not Ready to Apply</source><translation>Noch nicht bereit</translation></message>
<message><source>The start with the session can't be changed: %1</source><translation>Der Start mit der Sitzung lässt sich nicht ändern: %1</translation></message>
<message><source>Setup summary exported to %1</source><translation>Die Zusammenfassung wurde exportiert: %1</translation></message>
<message><source>Export failed: %1</source><translation>Der Export ist fehlgeschlagen: %1</translation></message>
</context>
<context><name>gateway::shell::SummaryPill</name>
<message><source>%1: %2</source><translation>%1: %2</translation></message>
</context>
<context><name>gateway::shell::SystemTrayItem</name>
<message><source>Show Panel</source><translation>Fenster zeigen</translation></message>
<message><source>Open Dashboard</source><translation>Übersicht öffnen</translation></message>
<message><source>Quit Quorin Gateway</source><translation>Quorin Gateway beenden</translation></message>
</context>
<context><name>gateway::shell::TermsSheet</name>
<message><source>Quorin Cloud Terms &amp; Conditions</source><translation>Nutzungsbedingungen der Quorin Cloud</translation></message>
<message><source>Please scroll to the end of the Terms and Conditions to continue.</source><translation>Bitte lesen Sie die Nutzungsbedingungen bis zum Ende, um fortzufahren.</translation></message>
<message><source>Decline</source><translation>Ablehnen</translation></message>
<message><source>Accept</source><translation>Annehmen</translation></message>
<message><source>Please review and accept the Terms &amp; Conditions before using Quorin Cloud.</source><translation>Bitte lesen Sie die Nutzungsbedingungen und nehmen Sie sie an, bevor Sie Quorin Cloud benutzen.</translation></message>
<message><source>Terms and Conditions</source><translation>Nutzungsbedingungen</translation></message>
<message><source>Your answer hasn't been taken. Images are still received and kept.</source><translation>Ihre Antwort ist nicht angekommen. Bilder werden weiter empfangen und hier aufbewahrt.</translation></message>
<message><source>Reload</source><translation>Neu laden</translation></message>
</context>
<context><name>gateway::shell::TimeRangeButton</name>
<message><source>Time Range</source><translation>Zeitraum</translation></message>
</context>
<context><name>gateway::shell::TransferLineChart</name>
<message><source>%1: %2, %3</source><translation>%1: %2, %3</translation></message>
<message><source>No images were received or sent in this time range</source><translation>In diesem Zeitraum wurden keine Bilder empfangen oder gesendet</translation></message>
<message><source>Received and sent images over time</source><translation>Empfangene und gesendete Bilder im Zeitverlauf</translation></message>
</context>
<context><name>gateway::shell::TransferTrendCard</name>
<message><source>Transfer Activity</source><translation>Übertragungen</translation></message>
</context>
<context><name>gateway::shell::TrialWindow</name>
<message><source>Send a sample to the listener</source><translation>Ein Probebild an den Listener senden</translation></message>
<message><source>Record it on this computer</source><translation>Es auf diesem Computer verzeichnen</translation></message>
<message><source>Upload it</source><translation>Es hochladen</translation></message>
<message><source>Find it in the cloud</source><translation>Es in der Cloud finden</translation></message>
<message><source>Delete it again</source><translation>Es wieder löschen</translation></message>
<message><source>Over the network, as a modality does.</source><translation>Über das Netzwerk, wie es eine Modalität tut.</translation></message>
<message><source>Like every image that is received.</source><translation>Wie jedes Bild, das empfangen wird.</translation></message>
<message><source>To the cloud, as your settings say.</source><translation>In die Cloud, wie es Ihre Einstellungen sagen.</translation></message>
<message><source>By a query, as a person there would.</source><translation>Mit einer Abfrage, wie sie dort jemand stellt.</translation></message>
<message><source>Here and in the cloud.</source><translation>Hier und in der Cloud.</translation></message>
<message><source>Under way</source><translation>Läuft</translation></message>
<message><source>Passed</source><translation>Bestanden</translation></message>
<message><source>Failed</source><translation>Fehlgeschlagen</translation></message>
<message><source>Skipped</source><translation>Übersprungen</translation></message>
<message><source>Quorin Gateway sends an image of nobody to itself over the network, uploads it, finds it in the cloud and deletes it again. Nothing else changes.</source><translation>Quorin Gateway sendet sich selbst über das Netzwerk ein Bild von niemandem, lädt es hoch, findet es in der Cloud und löscht es wieder. Sonst ändert sich nichts.</translation></message>
<message><source>Something Is in the Way</source><translation>Etwas steht im Weg</translation></message>
<message><source>Each line says what came of it, and what helps. Your settings stay as they are.</source><translation>Jede Zeile sagt, was daraus wurde und was hilft. Ihre Einstellungen bleiben, wie sie sind.</translation></message>
<message><source>It Works</source><translation>Es funktioniert</translation></message>
<message><source>What your modalities send here is received, kept and uploaded.</source><translation>Was Ihre Modalitäten hierher senden, wird empfangen, aufbewahrt und hochgeladen.</translation></message>
<message><source>Stop</source><translation>Anhalten</translation></message>
<message><source>Close</source><translation>Schließen</translation></message>
<message><source>Skip</source><translation>Überspringen</translation></message>
<message><source>Done</source><translation>Fertig</translation></message>
<message><source>Try Again</source><translation>Noch einmal versuchen</translation></message>
<message><source>Try it now</source><translation>Jetzt ausprobieren</translation></message>
</context>
<context><name>gateway::shell::UpArrowFlowOverlay</name>
<message><source>Images are being sent</source><translation>Bilder werden gesendet</translation></message>
<message><source>No images are being sent</source><translation>Es werden keine Bilder gesendet</translation></message>
</context>
<context><name>gateway::shell::UpdateBanner</name>
<message><source>Check for Updates…</source><translation>Nach Updates suchen …</translation></message>
</context>
<context><name>gateway::shell::UpdateWindow</name>
<message><source>Check for updates automatically</source><translation>Automatisch nach Aktualisierungen suchen</translation></message>
<message><source>Later</source><translation>Später</translation></message>
<message><source>Software Update</source><translation>Aktualisierung</translation></message>
<message><source>What is new</source><translation>Was neu ist</translation></message>
<message><source>Progress of the update</source><translation>Fortschritt der Aktualisierung</translation></message>
<message><source>Checking for Updates…</source><translation>Suche nach Aktualisierungen …</translation></message>
<message><source>This is version %1.</source><translation>Dies ist Version %1.</translation></message>
<message><source>You're Up to Date</source><translation>Alles aktuell</translation></message>
<message><source>Version %1 is the newest one.</source><translation>Version %1 ist die neueste.</translation></message>
<message><source>The Update Wasn't Installed</source><translation>Die Aktualisierung wurde nicht installiert</translation></message>
<message><source>Can't Check for Updates</source><translation>Keine Suche nach Aktualisierungen möglich</translation></message>
<message><source>This is version %1. It goes on working as before.</source><translation>Dies ist Version %1. Sie arbeitet weiter wie bisher.</translation></message>
<message><source>Your System's Installer Has the Update</source><translation>Das Installationsprogramm Ihres Systems hat die Aktualisierung</translation></message>
<message><source>Install version %1 there, then quit Quorin Gateway and start it again.</source><translation>Installieren Sie dort Version %1, beenden Sie dann Quorin Gateway und starten Sie es neu.</translation></message>
<message><source>Restarting…</source><translation>Neustart …</translation></message>
<message><source>Version %1 starts in a moment.</source><translation>Version %1 startet gleich.</translation></message>
<message><source>Quorin Gateway %1 Is Available</source><translation>Quorin Gateway %1 ist verfügbar</translation></message>
<message><source>You have version %1. While it restarts, for some seconds, no images are received; those that are here stay safe.</source><translation>Sie haben Version %1. Während des Neustarts werden einige Sekunden lang keine Bilder empfangen; was hier ist, bleibt sicher.</translation></message>
<message><source>Installing…</source><translation>Wird installiert …</translation></message>
<message><source>%1 of %2</source><translation>%1 von %2</translation></message>
<message><source>Try again later, or ask whoever looks after this computer.</source><translation>Versuchen Sie es später noch einmal oder fragen Sie, wer diesen Rechner betreut.</translation></message>
<message><source>Try Again</source><translation>Noch einmal</translation></message>
<message><source>Install and Relaunch</source><translation>Installieren und neu starten</translation></message>
<message><source>Open Installer</source><translation>Installationsprogramm öffnen</translation></message>
<message><source>OK</source><translation>OK</translation></message>
</context>
<context><name>gateway::shell::UploadSpeedValueLabel</name>
<message><source>Speed</source><translation>Tempo</translation></message>
<message><source>%1 Mbps</source><translation>%1 Mbit/s</translation></message>
</context>
<context><name>gateway::shell::WelcomePage</name>
<message><source>Welcome to Quorin Gateway. This setup takes about 2-3 minutes and prepares your local listener, storage, and Quorin Cloud connectivity.</source><translation>Willkommen bei Quorin Gateway. Die Einrichtung dauert etwa zwei bis drei Minuten und bereitet den lokalen Listener, die Ablage und die Verbindung zu Quorin Cloud vor.</translation></message>
<message><source>What this wizard configures</source><translation>Was eingerichtet wird</translation></message>
<message><source>DIMSE listener identity and network port.</source><translation>Name und Netzwerkport des DIMSE-Listeners.</translation></message>
<message><source>Local incoming file storage and retention policy.</source><translation>Ablage und Aufbewahrung eingehender Dateien auf diesem Rechner.</translation></message>
<message><source>Quorin account sign-in (optional now, required for cloud sync).</source><translation>Anmeldung am Quorin-Konto (jetzt freiwillig, für die Übertragung zur Cloud nötig).</translation></message>
<message><source>Privacy and network note</source><translation>Hinweis zu Datenschutz und Netzwerk</translation></message>
<message><source>Enabling Bonjour publishes this listener on your local network.</source><translation>Mit Bonjour wird der Listener in Ihrem lokalen Netzwerk bekannt gemacht.</translation></message>
<message><source>Quorin Gateway may request Local Network permission from macOS.</source><translation>Quorin Gateway fragt macOS womöglich nach dem Zugriff auf das lokale Netzwerk.</translation></message>
<message><source>You can rerun this wizard any time from Preferences or the tray menu.</source><translation>Sie können diesen Assistenten jederzeit über die Einstellungen oder das Statusmenü erneut öffnen.</translation></message>
</context>
<context><name>gateway::shell::WizardRail</name>
<message><source>Setup Wizard</source><translation>Einrichtung</translation></message>
<message><source>Step %1 of %2</source><translation>Schritt %1 von %2</translation></message>
</context>
</TS>
